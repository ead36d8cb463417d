// SPDX-License-Identifier: MIT
#pragma once

#include <array>

#include "models/marked_frame_camera.h"
#include "models/model_values.h"

/// Facts that several marked-frame models have in common.
namespace orvik {

// Sensors of more than one model
inline constexpr Sensor kSensorT10C = {1936, 1216, 5.86, BAYER_RG};
inline constexpr Sensor kSensorT10M = {1936, 1216, 5.86};
inline constexpr Sensor kSensorT11C = {3096, 2080, 2.4, BAYER_RG};
inline constexpr Sensor kSensorT12C = {1944, 1224, 3.75, BAYER_GB};
inline constexpr Sensor kSensorT13C = {1304, 976, 3.75, BAYER_GR};

/// The first cooled models, with the largest sensors.
inline constexpr ModelValues kLargeSensorValues = {
    .maxBin = 4,
    .gain = {.defaultValue = 100, .max = 300, .min = 0},
    .exposureUs = {.defaultValue = 100'000, .max = 2'000'000'000, .min = 100},
    .brightness = ControlRange{.defaultValue = 20, .max = 240, .min = 0},
    .hasHardwareBin = true,
    .hardwareBinAtStart = true,
};

/// T09 and T10, whose sensors do not bin.
inline constexpr ModelValues kFastSensorValues = {
    .maxBin = 2,
    .gain = {.defaultValue = 150, .max = 400, .min = 0},
    .exposureUs = {.defaultValue = 10'000, .max = 1'000'000'000, .min = 32},
    .brightness = ControlRange{.defaultValue = 10, .max = 240, .min = 0},
    .hasHighSpeedMode = true,
};

inline constexpr ModelValues kT11Values = {
    .maxBin = 4,
    .gain = {.defaultValue = 200, .max = 570, .min = 0},
    .exposureUs = {.defaultValue = 10'000, .max = 2'000'000'000, .min = 32},
    .brightness = ControlRange{.defaultValue = 10, .max = 240, .min = 0},
    .hasHardwareBin = true,
    .hasHighSpeedMode = true,
};

/// T12 and, with a wider gain range, T13 to T15.
constexpr ModelValues binningSensorValues(std::int32_t maxGain) {
  return {
      .maxBin = 4,
      .gain = {.defaultValue = 200, .max = maxGain, .min = 0},
      .exposureUs = {.defaultValue = 10'000, .max = 1'000'000'000, .min = 32},
      .brightness = ControlRange{.defaultValue = 1, .max = 240, .min = 0},
      .hasHardwareBin = true,
      .hardwareBinAtStart = true,
      .hasHighSpeedMode = true,
  };
}
inline constexpr ModelValues kT12Values = binningSensorValues(500);
inline constexpr ModelValues kT13Values = binningSensorValues(600);

/// The sensors of 1304 x 976 pixels.
inline constexpr std::array<InitStep, 38> kInitTable1304 = {{
    {0x3003, 0x01}, {InitStep::kSleep, 20}, {0x300F, 0x00}, {0x3012, 0x2C}, {0x3013, 0x01},
    {0x3016, 0x08}, {0x301D, 0xC2},         {0x3070, 0x02}, {0x3071, 0x01}, {0x309E, 0x22},
    {0x30A5, 0xFB}, {0x30A6, 0x02},         {0x30B3, 0xFF}, {0x30B4, 0x01}, {0x30B5, 0x42},
    {0x30C2, 0x01}, {0x310F, 0x0F},         {0x3110, 0x0E}, {0x3111, 0xE7}, {0x3112, 0x9C},
    {0x3113, 0x83}, {0x3114, 0x10},         {0x3115, 0x42}, {0x3128, 0x1E}, {0x3144, 0x07},
    {0x31ED, 0x38}, {0x320C, 0xCF},         {0x324C, 0x40}, {0x324D, 0x03}, {0x3261, 0xE0},
    {0x3262, 0x02}, {0x326E, 0x2F},         {0x326F, 0x30}, {0x3270, 0x03}, {0x3298, 0x00},
    {0x329A, 0x12}, {0x329B, 0xE1},         {0x329C, 0x0C},
}};

/// All other sensors.
inline constexpr std::array<InitStep, 7> kInitTable = {{
    {0x3003, 0x01},
    {InitStep::kSleep, 20},
    {0x300F, 0x00},
    {0x3016, 0x08},
    {0x309E, 0x22},
    {0x3144, 0x07},
    {0x329C, 0x0C},
}};

}  // namespace orvik
