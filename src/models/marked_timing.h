// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

/// Timing of the marked-frame models: exposure and mode in lines and clock cycles. The FPGA stores
/// line length and frame length, the sensor the line at which the shutter opens. Pure functions.
/// Values that are truncated to whole lines are computed in single precision, because the register
/// values of the cameras are defined by it.
namespace orvik::marked {

inline constexpr std::uint64_t kLongExposureUs = 1'000'000;

/// A clock of the sensor and the values that belong to it.
struct SensorClock {
  std::uint8_t registerValue;  ///< of sensor register 0x3009
  int khz;
  int minLineLength;  ///< clock cycles, on a sensor 1304 pixels wide
};

/// The clock for a mode.
SensorClock clockForMode(bool binsOnSensor, bool highSpeed, bool output16Bits);

/// The clock with this frequency. An unknown frequency is accepted as it is, with the register
/// value of the slowest clock.
SensorClock clockForKhz(int khz, bool binsOnSensor);

/// Length of one frame and of its exposure, in lines.
struct ShutterTiming {
  std::uint32_t frameLength;   ///< 24 bits
  std::uint32_t shutterStart;  ///< 24 bits
  std::uint32_t exposureLines;
};

/// @param exposureUs microseconds; @param lineLength clock cycles
ShutterTiming shutterFor(std::uint64_t exposureUs, int rows, int lineLength, int clockKhz);

}  // namespace orvik::marked
