// SPDX-License-Identifier: MIT
#pragma once

#include "state/frame_time.h"

/// How fast a camera may send its lines, and what frame rate comes of it. Pure functions, the same
/// for every sensor.
namespace orvik {

inline constexpr int kMaxLineLength = 65535;

inline constexpr int kMinBandwidth = 40;
inline constexpr int kMaxBandwidth = 100;

/// What the link can carry, bytes a second for 1 percent and a tenth.
inline constexpr int kBytesPerPercentUsb3 = 190906;
inline constexpr int kBytesPerPercentUsb2 = 43272;

/// Bandwidth that automatic bandwidth starts with, percent.
constexpr int automaticBandwidth(bool usb3Host) { return usb3Host ? 100 : 80; }

/// What a line may not go below.
struct LineLimits {
  int bytesPerPercent;  ///< what the port carries
  int minLineLength;    ///< shortest line of the sensor, clock cycles
};

/// A frame on the wire.
struct FrameShape {
  int rows;
  int columns;
  bool output16Bits;
};

/// Clock cycles of one line at which the link just carries the frames. Single precision, because
/// the cameras' register values are defined by it.
/// @param bandwidth percent
/// @return the sensor's shortest line to kMaxLineLength
int lineLengthFor(int bandwidth, LineLimits limits, FrameShape frame, int clockKhz);

/// Frames a second at this timing.
/// @param lineLength clock cycles
float maxFrameRate(int rows, int lineLength, int clockKhz);

}  // namespace orvik
