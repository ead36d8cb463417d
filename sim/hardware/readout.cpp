// SPDX-License-Identifier: MIT
#include "sim/hardware/readout.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

#include "sim/hardware/line_time.h"

namespace orvik::sim {
namespace {

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

/// The FPGA's gains on the four samples of a mosaic cell: it knows the mosaic of the sensor that it
/// is built for.
std::array<std::uint8_t, 4> gainsOfCell(const Fpga& fpga, const SensorFormat& format) {
  std::array<std::uint8_t, 4> gains = {128, 128, 128, 128};
  if (format.mosaic == Mosaic::kMono) return gains;
  for (int n = 0; n < 4; ++n) {
    const int y = n / 2;
    const bool redRow =
        format.filterAt(0, y) == Filter::kRed || format.filterAt(1, y) == Filter::kRed;
    gains.at(static_cast<std::size_t>(n)) = fpga.colourGain(format.filterAt(n % 2, y), redRow);
  }
  return gains;
}

}  // namespace

std::optional<FrameSettings> decodeReadout(const Sensor& sensor, const Fpga& fpga,
                                           const SensorFormat& format) {
  if (!sensor.followsFpga()) return std::nullopt;
  FrameSettings settings;
  settings.area = sensor.readoutArea();
  if (!format.holds(settings.area)) return std::nullopt;

  const int sensorBin = sensor.averages2x2() ? 2 : 1;
  if (fpga.expectedSensorBin() != sensorBin) return std::nullopt;
  settings.columns = fpga.columns();
  settings.rows = fpga.rows();
  const int laterBin = fpgaBin(settings.area.width / sensorBin, settings.area.height / sensorBin,
                               settings.columns, settings.rows);
  settings.bin = sensorBin * laterBin;
  if (settings.bin == 0 || !divides(settings.area, settings.bin, format)) return std::nullopt;

  settings.amplification = std::pow(10, sensor.gain() / 200.0);
  settings.blackLevel = sensor.blackLevel();
  settings.converterBits = sensor.converterBits();
  settings.linkBits = fpga.linkBits();
  settings.wideOutput = fpga.wideOutput();
  settings.cellGains = gainsOfCell(fpga, format);
  settings.flaws = sensor.flaws();
  if (settings.bytes() < bytesOf(settings.marks)) return std::nullopt;

  const int kilohertz = sensor.clockKilohertz();
  if (kilohertz == 0 || fpga.lineCycles() < sensor.leastLineCycles() ||
      fpga.frameLines() <= settings.rows) {
    return std::nullopt;
  }
  settings.lines = fpga.frameLines();
  settings.frameTime = lineTimes(fpga.frameLines(), fpga.lineCycles(), kilohertz);
  // Lines count from 0. The shutter opens as line `shutterLine` ends, and closes as the last ends.
  const int lastLine = fpga.frameLines() - 1;
  const int exposed = std::max(lastLine - sensor.shutterLine(), 0);
  settings.exposure = lineTimes(exposed, fpga.lineCycles(), kilohertz);
  return settings;
}

}  // namespace orvik::sim
