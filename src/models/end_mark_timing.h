// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

/// Timing of the end-mark models: exposure and mode in lines and clock cycles, which the sensor
/// stores in 16 bits each. Pure functions.
namespace orvik::end_mark {

inline constexpr int kNormalClockKhz = 24000;
inline constexpr int kFastClockKhz = 48000;

/// The clock of a mode. @param overClock percent above the nominal frequency
int clockFor(bool fast, int overClock);

/// Shortest line of a sensor, clock cycles.
int minLineLength(int maxWidth);

/// Length of one frame and of its exposure.
struct Exposure {
  std::uint16_t frameLength;  ///< lines
  std::uint16_t lines;        ///< 0 if the host times the exposure
  [[nodiscard]] bool isTimedByHost() const { return lines == 0; }
};

/// The host times an exposure that is long, or longer than the sensor can count.
/// @param exposureUs microseconds
/// @param lineLength clock cycles
/// @param longExposureUs the host times exposures from this one on, microseconds
Exposure exposureFor(std::uint64_t exposureUs, int rows, int lineLength, int clockKhz,
                     std::uint64_t longExposureUs);

}  // namespace orvik::end_mark
