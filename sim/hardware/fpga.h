// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "sim/frame_settings.h"
#include "sim/hardware/register_file.h"
#include "sim/sensor_format.h"

namespace orvik::sim {

/// The FPGA between sensor and bridge: it times the sensor's lines and frames, bins, multiplies the
/// mosaic's colours, marks each frame, and passes it on.
///
/// | Register | Meaning |
/// |---|---|
/// | 0 | 0x21 run, 0xE1 run in long-exposure mode, 0x31 and 0xF1 the same halted, 0x30 and 0 idle |
/// | 1 | bit 0: hold; what is written meanwhile takes effect together at its end |
/// | 2, 6 | 4 and 9 for a sensor that reads each pixel, 2 and 5 for one that averages 2 x 2 |
/// | 4, 5 and 8, 9 | columns and rows delivered |
/// | 10 | bit 0: samples of 12 instead of 10 bits from the sensor; bit 4: two bytes a sample out |
/// | 11 | long exposure: 1 opens the shutter, 0 ends the exposure |
/// | 12 to 15 | gains of red, green in red's row, green in blue's row, blue; 128 is unity |
/// | 16 to 18 | frame length in lines |
/// | 19, 20 | line length in clock cycles |
/// | 29 to 31 | version, read only |
///
/// The gains do nothing behind a mono sensor. After power-up all but the version is 0: no frame
/// comes before columns, rows and lengths are written, and one of a colour sensor is black before
/// the gains are.
class Fpga {
 public:
  Fpga();

  /// Whether there is a register of this number.
  [[nodiscard]] static bool has(std::uint16_t number);
  /// Numbers that have no register are ignored and read as 0.
  void write(std::uint16_t number, std::uint8_t value);
  [[nodiscard]] std::uint8_t read(std::uint16_t number) const;

  [[nodiscard]] RunMode runMode() const;
  [[nodiscard]] bool shutterOpen() const;
  /// The pixels per side that the FPGA expects the sensor to average: 1, 2, or 0 for a
  /// contradictory setting.
  [[nodiscard]] int expectedSensorBin() const;
  [[nodiscard]] int columns() const;
  [[nodiscard]] int rows() const;
  [[nodiscard]] int linkBits() const;
  [[nodiscard]] bool wideOutput() const;
  /// Of a colour; `redRow` distinguishes the two greens.
  [[nodiscard]] std::uint8_t colourGain(Filter filter, bool redRow) const;
  [[nodiscard]] int frameLines() const;
  [[nodiscard]] int lineCycles() const;

 private:
  RegisterFile<32> registers_;
};

}  // namespace orvik::sim
