// SPDX-License-Identifier: MIT
#pragma once

#include "state/frame_time.h"

/// The line length that a bandwidth allows, and the resulting frame rate. Pure functions, the same
/// for every sensor.
namespace orvik {

inline constexpr int kMaxLineLength = 65535;

inline constexpr int kMinBandwidth = 40;
inline constexpr int kMaxBandwidth = 100;

/// What the link can carry: a tenth of the bytes per second at 1 percent of bandwidth.
inline constexpr int kBytesPerPercentUsb3 = 190906;
inline constexpr int kBytesPerPercentUsb2 = 43272;

/// The initial value of automatic bandwidth, percent.
constexpr int automaticBandwidth(bool usb3Host) { return usb3Host ? 100 : 80; }

/// The lower limits of the line length.
struct LineLimits {
  int bytesPerPercent;  ///< capacity of the port, as kBytesPerPercentUsb3
  int minLineLength;    ///< shortest line of the sensor, clock cycles
};

/// The size of a frame on the wire.
struct FrameShape {
  int rows;
  int columns;
  bool output16Bits;
};

/// The line length in clock cycles at which the frames just fit the bandwidth. Single precision,
/// because the register values of the cameras are defined by it.
/// @param bandwidth percent
/// @return limits.minLineLength to kMaxLineLength
int lineLengthFor(int bandwidth, LineLimits limits, FrameShape frame, int clockKhz);

/// The frame rate at this timing, frames per second.
/// @param lineLength clock cycles
float maxFrameRate(int rows, int lineLength, int clockKhz);

}  // namespace orvik
