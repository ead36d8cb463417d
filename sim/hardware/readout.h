// SPDX-License-Identifier: MIT
#pragma once

#include <optional>

#include "sim/frame_settings.h"
#include "sim/hardware/fpga.h"
#include "sim/hardware/sensor.h"
#include "sim/sensor_format.h"

namespace orvik::sim {

/// Works out what frames sensor and FPGA make together with the registers now in effect. The
/// sensor's temperature is left to the caller.
///
/// A frame lasts (line length x frame length) / clock. Its lines count from 0 to frame length - 1;
/// pixels collect light from the end of the shutter line to the end of the frame's last line. A
/// shutter line of 0 thus gives one line less than the frame has.
///
/// Binning: the sensor averages 2 x 2 pixels of one colour in its own mode; else the FPGA averages
/// 3 x 3 or 4 x 4 when it delivers a third or a quarter of the sensor's columns and rows. Both keep
/// the mosaic, and both average, so that black level and saturation stay where they are.
///
/// @return none when the registers contradict each other: an area that leaves the sensor or is
///   not what the FPGA expects, a sensor that times itself, a frame shorter than its rows, lines
///   shorter than the sensor's, no such clock.
std::optional<FrameSettings> decodeReadout(const Sensor& sensor, const Fpga& fpga,
                                           const SensorFormat& format);

}  // namespace orvik::sim
