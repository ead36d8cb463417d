// SPDX-License-Identifier: MIT
// The flat functions that find, describe, open and close cameras and access their controls.
#include <algorithm>
#include <cstdint>

#include "api/guard.h"
#include "controls/control_table.h"

using orvik::Camera;
using orvik::OpenCamera;
using orvik::Registry;
using orvik::api::guarded;
using orvik::api::unlessGone;
using orvik::api::withCamera;

namespace {

/// The value that a control is set to: the nearest one to `value` that it can have. A negative
/// exposure counts as too long. A flip that does not exist is passed to the camera, which ignores
/// it.
std::int32_t withinLimits(const Camera& camera, Orvik_CONTROL_TYPE type, std::int32_t value) {
  if (!camera.model().controls.has(type) || type == Orvik_CTL_FLIP) return value;
  const orvik::ControlRange range = orvik::controlRange(camera.model(), type);
  if (type == Orvik_CTL_EXPOSURE && value < 0) return range.max;
  return std::clamp(value, range.min, range.max);
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
    *count = static_cast<int>(camera.driver->model().controls.size());
    return Orvik_OK;
  });
}

Orvik_ERROR_CODE OrvikGetControlCaps(int index, int controlIndex, Orvik_CONTROL_CAPS* caps) {
  return withCamera(index, Orvik_ERROR_CONTROL, [&](OpenCamera& camera) {
    const orvik::ModelRow& model = camera.driver->model();
    const auto position = static_cast<std::size_t>(controlIndex);
    if (caps == nullptr || position >= model.controls.size()) return Orvik_ERROR_CONTROL;
    return orvik::describeControl(model, model.controls[position], *caps) ? Orvik_OK
                                                                          : Orvik_ERROR_CONTROL;
  });
}

Orvik_ERROR_CODE OrvikGetControlValue(int index, Orvik_CONTROL_TYPE type, std::int32_t* value,
                                      Orvik_BOOL* isAuto) {
  return withCamera(index, Orvik_ERROR_CONTROL, [&](OpenCamera& camera) {
    if (value == nullptr || isAuto == nullptr) return Orvik_ERROR_CONTROL;
    *isAuto = Orvik_FALSE;
    const auto read = camera.driver->readControl(type);
    if (!read) return Orvik_ERROR_CONTROL;
    *value = read->value;
    *isAuto = read->automatic ? Orvik_TRUE : Orvik_FALSE;
    return Orvik_OK;
  });
}

Orvik_ERROR_CODE OrvikSetControlValue(int index, Orvik_CONTROL_TYPE type, std::int32_t value,
                                      Orvik_BOOL isAuto) {
  return withCamera(index, Orvik_ERROR_DRIVER_FAILED, [&](OpenCamera& camera) {
    value = withinLimits(*camera.driver, type, value);
    const Orvik_ERROR_CODE result = camera.driver->setControl(type, value, isAuto == Orvik_TRUE);
    return unlessGone(camera, result, Orvik_ERROR_DRIVER_FAILED);
  });
}
