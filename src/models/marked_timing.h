// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

/// Timing of the marked-frame models: what exposure and mode mean in lines and clock cycles. The
/// FPGA holds line length and frame length, the sensor the line at which the shutter opens. Pure
/// functions; arithmetic in single precision where a fraction of a line is cut off, because the
/// cameras' register values are defined by it.
namespace orvik::marked {

inline constexpr std::uint64_t kLongExposureUs = 1'000'000;

/// A clock of the sensor, and what belongs to it.
struct SensorClock {
  std::uint8_t registerValue;  ///< of sensor register 0x3009
  int khz;
  int minLineLength;  ///< clock cycles, on a sensor 1304 pixels wide
};

/// The clock that the mode asks for.
SensorClock clockForMode(bool binsOnSensor, bool highSpeed, bool output16Bits);

/// The clock that a number of kHz asks for. An unknown clock is taken at its word, with the
/// register value of the slowest.
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
