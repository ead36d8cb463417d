// SPDX-License-Identifier: MIT
// The flat functions for what a camera has beside its pictures: guide port, identity, settings.
#include <chrono>

#include "api/guard.h"
#include "orvik/orvik_service.h"

using orvik::OpenCamera;
using orvik::api::captureCode;
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

Orvik_ERROR_CODE OrvikPulseGuide(int index, GuideD direction, int milliseconds) {
  return withCamera(index, Orvik_ERROR_DRIVER_FAILED, [&](OpenCamera& camera) {
    const auto line = static_cast<std::uint32_t>(direction);
    if (line >= orvik::GuideLines::kCount || milliseconds < 0 ||
        milliseconds > ORVIK_MAX_PULSE_MS) {
      return Orvik_ERROR_ARGUMENT;
    }
    const std::chrono::milliseconds length(milliseconds);
    return camera.driver->guideLines().pulse(line, camera.driver->clock(), length)
               ? Orvik_OK
               : Orvik_ERROR_DRIVER_FAILED;
  });
}

Orvik_ERROR_CODE OrvikGetID(int index, Orvik_ID* id) {
  return withCamera(index, Orvik_ERROR_DRIVER_FAILED, [&](OpenCamera& camera) {
    if (id == nullptr) return Orvik_ERROR_DRIVER_FAILED;
    const Orvik_ERROR_CODE busy = captureCode(camera.driver->state());
    if (busy != Orvik_OK) return busy;
    return camera.driver->ReadIDFromSPI(id) ? Orvik_OK : Orvik_ERROR_DRIVER_FAILED;
  });
}

Orvik_ERROR_CODE OrvikSetID(int index, Orvik_ID id) {
  return withCamera(index, Orvik_ERROR_DRIVER_FAILED, [&](OpenCamera& camera) {
    const Orvik_ERROR_CODE busy = captureCode(camera.driver->state());
    if (busy != Orvik_OK) return busy;
    return camera.driver->WriteIDToSPI(id) ? Orvik_OK : Orvik_ERROR_DRIVER_FAILED;
  });
}

Orvik_ERROR_CODE OrvikSaveSettings(int index) {
  return withCamera(index, Orvik_OK, [](OpenCamera& camera) {
    camera.driver->SaveSetting(camera.driver->model().settingsKey);
    return Orvik_OK;
  });
}
