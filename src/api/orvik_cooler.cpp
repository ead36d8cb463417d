// SPDX-License-Identifier: MIT
// The service function that reports the status of a cooler.
#include <chrono>
#include <cstdint>

#include "api/guard.h"
#include "cooler/cooler.h"
#include "orvik/orvik_service.h"

using orvik::CameraState;
using orvik::CoolerFault;
using orvik::OpenCamera;
using orvik::api::withCamera;

namespace {

Orvik_COOLER_FAULT publicFault(CoolerFault fault) {
  switch (fault) {
    case CoolerFault::kNoReading:
      return Orvik_COOLER_NO_READING;
    case CoolerFault::kOutOfRange:
      return Orvik_COOLER_OUT_OF_RANGE;
    case CoolerFault::kNone:
      break;
  }
  return Orvik_COOLER_NO_FAULT;
}

std::int32_t secondsSince(orvik::seam::Clock::Duration readAt, orvik::seam::Clock::Duration now) {
  if (readAt == CameraState::kNever) return -1;
  return static_cast<std::int32_t>(
      std::chrono::duration_cast<std::chrono::seconds>(now - readAt).count());
}

}  // namespace

Orvik_ERROR_CODE OrvikGetCoolerStatus(int index, Orvik_COOLER_STATUS* status) {
  return withCamera(index, Orvik_ERROR_DRIVER_FAILED, [&](OpenCamera& camera) {
    if (status == nullptr) return Orvik_ERROR_ARGUMENT;
    if (camera.driver->cooled() == nullptr) return Orvik_ERROR_DRIVER_FAILED;
    const CameraState& now = camera.driver->state();
    status->isRegulating = now.coolerOn ? Orvik_TRUE : Orvik_FALSE;
    status->aim = orvik::cooler::aimOf(now.targetTemperature);
    status->power = static_cast<std::int32_t>(now.coolerPower);
    status->temperature = static_cast<std::int32_t>(now.temperature * 10.0);
    status->isValid = now.temperatureValid ? Orvik_TRUE : Orvik_FALSE;
    status->secondsSinceReading = secondsSince(now.temperatureAt, camera.driver->clock().now());
    status->fault = publicFault(now.coolerFault);
    return Orvik_OK;
  });
}
