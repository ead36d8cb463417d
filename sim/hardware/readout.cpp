// SPDX-License-Identifier: MIT
#include "sim/hardware/readout.h"

#include <algorithm>
#include <cstdint>

namespace orvik::sim {
namespace {

constexpr std::size_t kMarkBytes = 8;

bool within(const Area& area, const SensorFormat& format) {
  return area.width > 0 && area.height > 0 && area.x + area.width <= format.width &&
         area.y + area.height <= format.height;
}

/// Whether the area is made of whole groups of pixels: of whole groups of mosaic cells where there
/// is a mosaic to keep.
bool divides(const Area& area, int bin, const SensorFormat& format) {
  const int group = bin == 1 || format.mosaic == Mosaic::kMono ? bin : 2 * bin;
  return area.width % group == 0 && area.height % group == 0;
}

/// The FPGA's binning factor, or 0 when the rows and columns that it delivers do not follow from
/// those that the sensor sends.
int fpgaBin(int sentColumns, int sentRows, int columns, int rows) {
  for (const int bin : {1, 3, 4}) {
    if (columns * bin == sentColumns && rows * bin == sentRows) return bin;
  }
  return 0;
}

/// `lines` lines of `cycles` clock cycles each.
seam::Clock::Duration duration(std::int64_t lines, std::int64_t cycles, int kilohertz) {
  return seam::Clock::Duration{lines * cycles * 1000000 / kilohertz};
}

}  // namespace

std::optional<FrameSettings> decodeReadout(const Sensor& sensor, const Fpga& fpga,
                                           const SensorFormat& format) {
  FrameSettings settings;
  settings.area = sensor.readoutArea();
  if (!within(settings.area, format)) return std::nullopt;

  const int sensorBin = sensor.averages2x2() ? 2 : 1;
  if (fpga.expectedSensorBin() != sensorBin) return std::nullopt;
  settings.columns = fpga.columns();
  settings.rows = fpga.rows();
  const int laterBin = fpgaBin(settings.area.width / sensorBin, settings.area.height / sensorBin,
                               settings.columns, settings.rows);
  settings.bin = sensorBin * laterBin;
  if (settings.bin == 0 || !divides(settings.area, settings.bin, format)) return std::nullopt;

  settings.gain = sensor.gain();
  settings.blackLevel = sensor.blackLevel();
  settings.converterBits = sensor.converterBits();
  settings.linkBits = fpga.linkBits();
  settings.wideOutput = fpga.wideOutput();
  settings.cellGains = fpga.cellGains();
  if (settings.bytes() < kMarkBytes) return std::nullopt;

  const int kilohertz = sensor.clockKilohertz();
  if (kilohertz == 0 || fpga.lineCycles() == 0 || fpga.frameLines() <= settings.rows) {
    return std::nullopt;
  }
  settings.frameTime = duration(fpga.frameLines(), fpga.lineCycles(), kilohertz);
  const int exposed = std::max(fpga.frameLines() - sensor.shutterLine() - 1, 0);
  settings.exposure = duration(exposed, fpga.lineCycles(), kilohertz);
  return settings;
}

}  // namespace orvik::sim
