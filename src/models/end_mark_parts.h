// SPDX-License-Identifier: MIT
#pragma once

#include "models/end_mark_camera.h"
#include "models/model_values.h"

/// Facts that several end-mark models have in common.
namespace orvik {

// Sensors of more than one model
inline constexpr Sensor kSensorT06C = {1280, 960, 3.75, BAYER_GR};
inline constexpr Sensor kSensorT06M = {1280, 960, 3.75};

/// Ranges of the oldest models, with 8-bit samples and one clock.
/// @param shortestUs, longestUs exposure, microseconds
constexpr ModelValues oldestValues(std::int32_t shortestUs, std::int32_t longestUs) {
  return {
      .maxBin = 2,
      .gain = {.defaultValue = 50, .max = 100, .min = 1},
      .exposureUs = {.defaultValue = 33'000, .max = longestUs, .min = shortestUs},
      .brightness = ControlRange{.defaultValue = 10, .max = 100, .min = 0},
      .usb3 = false,
      .raw16 = false,
      .hasThermometer = false,
  };
}
inline constexpr ModelValues kT01Values = oldestValues(100, 60'000'000);

inline constexpr ModelValues kT06Values = {
    .maxBin = 2,
    .gain = {.defaultValue = 50, .max = 100, .min = 1},
    .exposureUs = {.defaultValue = 33'000, .max = 1'000'000'000, .min = 64},
    .brightness = ControlRange{.defaultValue = 10, .max = 100, .min = 0},
    .usb3 = false,
    .hasHighSpeedMode = true,
    .highByteFirst = true,
};

/// Bytes of one read of T06C, T06M and T08M.
inline constexpr std::size_t kSmallTransfer = 307'200;

/// The default of a sensor without colour gains.
inline constexpr WhiteBalanceDefaults kNeutralWhiteBalance = {.red = 50, .blue = 50};

}  // namespace orvik
