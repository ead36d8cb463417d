// SPDX-License-Identifier: MIT
#pragma once

#include <optional>

#include "sim/frame_settings.h"
#include "sim/models.h"

namespace orvik::sim {

/// What a sensor that times itself is set to, in the units of its registers.
struct SelfTimed {
  Area area;              ///< read out; nothing says that it lies within the sensor
  int frameLines = 0;     ///< of a frame
  int lineCycles = 0;     ///< clock cycles of a line
  int exposureLines = 0;  ///< 0: exposed by the shutter line
  int kilohertz = 0;      ///< of the clock; 0 for one that it cannot run at
  double amplification = 1;
  int blackLevel = 0;  ///< steps of a 12-bit sample
  int redGain = 128;   ///< 128 is unity
  int blueGain = 128;
};

/// Works out what frames come about. Every pixel of the area is read; the frame ends in a trailer.
///
/// A line lasts (line length / clock), a frame (line length x frame length) / clock, and an
/// exposure as many lines as it is set to, at most one less than the frame.
///
/// @return none for an area that leaves the sensor, lines shorter than the sensor needs, a frame
///   without a line beyond its rows, or no clock.
std::optional<FrameSettings> decodeSelfTimed(const SelfTimed& sensor, const SensorFormat& format);

}  // namespace orvik::sim
