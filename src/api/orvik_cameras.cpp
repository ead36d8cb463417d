// SPDX-License-Identifier: MIT
// The flat functions that find, describe, open and close cameras and reach their controls.
#include <algorithm>

#include "api/guard.h"
#include "camera/control_table.h"
#include "cooler/camera_cool.h"

using orvik::CCameraBase;
using orvik::CCameraCool;
using orvik::OpenCamera;
using orvik::Registry;
using orvik::api::guarded;
using orvik::api::unlessGone;
using orvik::api::withCamera;

namespace {

/// What a control is set to when `value` is asked for: the nearest value that it can have. A
/// negative exposure counts as too long; a flip that does not exist is left to the camera, which
/// ignores it.
int32_t withinLimits(const CCameraBase& camera, Orvik_CONTROL_TYPE type, int32_t value) {
  if (!camera.model().controls.has(type) || type == Orvik_CTL_FLIP) return value;
  const orvik::ControlRange range = orvik::controlRange(camera.model(), type);
  if (type == Orvik_CTL_EXPOSURE && value < 0) return range.max;
  return std::clamp(value, range.min, range.max);
}

/// @param cooler null for a camera without cooler
/// @param type Orvik_CTL_TARGET_TEMP or Orvik_CTL_COOLER_ON
Orvik_ERROR_CODE setCooler(CCameraCool* cooler, Orvik_CONTROL_TYPE type, int32_t value) {
  if (cooler == nullptr) return Orvik_ERROR_DRIVER_FAILED;
  if (type == Orvik_CTL_COOLER_ON) {
    return cooler->SwitchCooler(value >= 1) ? Orvik_OK : Orvik_ERROR_DRIVER_FAILED;
  }
  cooler->SetTargetTemp(value);
  return Orvik_OK;
}

}  // namespace

int OrvikGetNumOfConnectedCameras() {
  return guarded(0, [] { return Registry::instance().enumerate(); });
}

Orvik_ERROR_CODE OrvikGetCameraProperty(Orvik_CAMERA_INFO* info, int index) {
  if (info == nullptr) return Orvik_ERROR_INFO_INDEX;
  return guarded(Orvik_ERROR_NO_CAMERA_OBJECT,
                 [&] { return Registry::instance().property(*info, index); });
}

Orvik_ERROR_CODE OrvikOpenCamera(int index) {
  return guarded(Orvik_ERROR_OPEN_FAILED, [&] { return Registry::instance().open(index); });
}

Orvik_ERROR_CODE OrvikCloseCamera(int index) {
  return guarded(Orvik_ERROR_DRIVER_FAILED, [&] { return Registry::instance().close(index); });
}

Orvik_ERROR_CODE OrvikGetNumOfControls(int index, int* count) {
  return withCamera(index, Orvik_ERROR_CONTROL, [&](OpenCamera& camera) {
    if (count == nullptr) return Orvik_ERROR_CONTROL;
    *count = camera.driver->GetNumOfControls();
    return Orvik_OK;
  });
}

Orvik_ERROR_CODE OrvikGetControlCaps(int index, int controlIndex, Orvik_CONTROL_CAPS* caps) {
  return withCamera(index, Orvik_ERROR_CONTROL, [&](OpenCamera& camera) {
    if (caps == nullptr || !camera.driver->GetControlCaps(controlIndex, caps)) {
      return Orvik_ERROR_CONTROL;
    }
    return Orvik_OK;
  });
}

Orvik_ERROR_CODE OrvikGetControlValue(int index, Orvik_CONTROL_TYPE type, int32_t* value,
                                      Orvik_BOOL* isAuto) {
  return withCamera(index, Orvik_ERROR_CONTROL, [&](OpenCamera& camera) {
    if (value == nullptr || isAuto == nullptr) return Orvik_ERROR_CONTROL;
    return camera.driver->GetControlValue(type, value, isAuto) ? Orvik_OK : Orvik_ERROR_CONTROL;
  });
}

Orvik_ERROR_CODE OrvikSetControlValue(int index, Orvik_CONTROL_TYPE type, int32_t value,
                                      Orvik_BOOL isAuto) {
  return withCamera(index, Orvik_ERROR_DRIVER_FAILED, [&](OpenCamera& camera) {
    value = withinLimits(*camera.driver, type, value);
    // The cooler's controls are not the common camera's.
    const bool ofCooler = type == Orvik_CTL_TARGET_TEMP || type == Orvik_CTL_COOLER_ON;
    const Orvik_ERROR_CODE result =
        ofCooler ? setCooler(camera.driver->cooler(), type, value)
                 : camera.driver->SetControlValue(type, value, isAuto == Orvik_TRUE);
    return unlessGone(camera, result, Orvik_ERROR_DRIVER_FAILED);
  });
}
