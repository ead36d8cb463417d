// SPDX-License-Identifier: MIT
#include "sim/hardware/self_timed.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "sim/hardware/line_time.h"

namespace orvik::sim {
namespace {

constexpr int kBlankCycles = 94;  // of a line, beyond the sensor's columns
constexpr int kMostGain = 255;

/// The sensor multiplies by colour: where the area begins decides where in a frame red stands.
std::array<std::uint8_t, 4> gainsOfCell(const SelfTimed& sensor, const SensorFormat& format) {
  std::array<std::uint8_t, 4> gains = {128, 128, 128, 128};
  for (int n = 0; n < 4; ++n) {
    const Filter filter = format.filterAt(sensor.area.x + n % 2, sensor.area.y + n / 2);
    if (filter != Filter::kRed && filter != Filter::kBlue) continue;
    const int gain = filter == Filter::kRed ? sensor.redGain : sensor.blueGain;
    gains.at(static_cast<std::size_t>(n)) = static_cast<std::uint8_t>(std::min(gain, kMostGain));
  }
  return gains;
}

}  // namespace

std::optional<FrameSettings> decodeSelfTimed(const SelfTimed& sensor, const SensorFormat& format) {
  const Area& area = sensor.area;
  if (!format.holds(area) || sensor.kilohertz <= 0 || sensor.frameLines <= area.height ||
      sensor.lineCycles < format.width + kBlankCycles) {
    return std::nullopt;
  }
  FrameSettings settings;
  settings.area = area;
  settings.columns = area.width;
  settings.rows = area.height;
  settings.amplification = sensor.amplification;
  settings.blackLevel = sensor.blackLevel;
  settings.cellGains = gainsOfCell(sensor, format);
  settings.marks = Marks::kTrailer;
  if (settings.bytes() < bytesOf(settings.marks)) return std::nullopt;

  const int exposed = std::min(sensor.exposureLines, sensor.frameLines - 1);
  settings.lines = sensor.frameLines;
  settings.frameTime = lineTimes(sensor.frameLines, sensor.lineCycles, sensor.kilohertz);
  settings.exposure = lineTimes(exposed, sensor.lineCycles, sensor.kilohertz);
  return settings;
}

}  // namespace orvik::sim
