// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

/// Timing of the end-mark models: what exposure and mode mean in lines and clock cycles. The sensor
/// holds everything, in 16 bits each. Pure functions.
namespace orvik::end_mark {

inline constexpr int kNormalClockKhz = 24000;
inline constexpr int kFastClockKhz = 48000;

/// Clock of the mode. @param overClock percent beyond the clock's own frequency
int clockFor(bool fast, int overClock);

/// Shortest line of a sensor, clock cycles.
int minLineLength(int maxWidth);

/// Length of one frame and of its exposure.
struct Exposure {
  std::uint16_t frameLength;  ///< lines
  std::uint16_t lines;        ///< 0: the host times it
  [[nodiscard]] bool isTimedByHost() const { return lines == 0; }
};

/// The host times an exposure that is long, or that the sensor cannot count.
/// @param exposureUs microseconds; @param lineLength clock cycles
/// @param longExposureUs exposure from which on the host times it, microseconds
Exposure exposureFor(std::uint64_t exposureUs, int rows, int lineLength, int clockKhz,
                     std::uint64_t longExposureUs);

}  // namespace orvik::end_mark
