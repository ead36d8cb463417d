// SPDX-License-Identifier: MIT
// The flat functions for what a camera has beside its pictures: guide port and identity.
#include "api/guard.h"

using orvik::OpenCamera;
using orvik::api::withCamera;

Orvik_ERROR_CODE OrvikPulseGuideOn(int index, GuideD direction) {
  return withCamera(index, Orvik_OK, [&](OpenCamera& camera) {
    camera.driver->pulseGuideOn(direction);
    return Orvik_OK;
  });
}

Orvik_ERROR_CODE OrvikPulseGuideOff(int index, GuideD direction) {
  return withCamera(index, Orvik_OK, [&](OpenCamera& camera) {
    camera.driver->pulseGuideOff(direction);
    return Orvik_OK;
  });
}

Orvik_ERROR_CODE OrvikGetID(int index, Orvik_ID* id) {
  return withCamera(index, Orvik_ERROR_DRIVER_FAILED, [&](OpenCamera& camera) {
    return camera.driver->ReadIDFromSPI(id) ? Orvik_OK : Orvik_ERROR_DRIVER_FAILED;
  });
}

Orvik_ERROR_CODE OrvikSetID(int index, Orvik_ID id) {
  return withCamera(index, Orvik_ERROR_DRIVER_FAILED, [&](OpenCamera& camera) {
    return camera.driver->WriteIDToSPI(id) ? Orvik_OK : Orvik_ERROR_DRIVER_FAILED;
  });
}
