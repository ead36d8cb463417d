// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <vector>

#include "sim/frame_settings.h"
#include "sim/hardware/register_file.h"
#include "sim/hardware/sensor_trims.h"
#include "sim/models.h"

namespace orvik::sim {

/// The image sensor of the marked-frame models, behind its serial interface.
///
/// | Register | Meaning |
/// |---|---|
/// | 0x0000 | 0x21 or 0xE1, as the FPGA's register 0, which decides; of no effect here |
/// | 0x3000 | bit 0: standby |
/// | 0x3001 | bit 0: hold; what is written meanwhile takes effect together at its end |
/// | 0x3002, 0x3049 | 1 and 0: lines and frames are timed by the FPGA |
/// | 0x3003 | bit 0: resets all registers |
/// | 0x3005 | converter: 1 of 12 bits, 0 of 10 |
/// | 0x3006 | 0x22 averages 2 x 2 pixels of one colour, 0 reads each pixel |
/// | 0x3007 | 0x40: only the area is read; else the whole sensor |
/// | 0x3009 | clock |
/// | 0x300A, 0x300B | black level |
/// | 0x3014, 0x3015 | gain, 0.1 dB |
/// | 0x3020 to 0x3022 | line after which the shutter opens |
/// | 0x3038, 0x303A, 0x303C, 0x303E | first row, rows, first column, columns read (16 bits each) |
/// | 0x3044 | 0xE0: samples of 10 bits at the output; 0xE1: of 12 |
/// | 0x305C to 0x305F | 0x20, 0, 0x20, 0: the clock generator, for the clock that comes in |
/// | trims | see Trim |
///
/// A sensor that cannot average, or has no fast conversion, takes the values that ask for it as any
/// others, to no effect. Until the registers of the second, fourth and last but one kind are
/// written after power-up, no frame comes, or none of the area that was asked for.
class Sensor {
 public:
  explicit Sensor(const Model& model);

  /// Whether there is a register at this address.
  [[nodiscard]] bool has(std::uint16_t address) const;
  /// Any address is acknowledged; the ones that hold no register are ignored and read as 0.
  void write(std::uint16_t address, std::uint8_t value);
  [[nodiscard]] std::uint8_t read(std::uint16_t address) const;

  [[nodiscard]] bool standby() const;
  /// Whether lines and frames are timed by the FPGA, rather than by the sensor against it.
  [[nodiscard]] bool followsFpga() const;
  /// What the trims that are not as they should be do to the picture.
  [[nodiscard]] Flaws flaws() const;
  [[nodiscard]] bool averages2x2() const;
  [[nodiscard]] int blackLevel() const;
  [[nodiscard]] int gain() const;
  [[nodiscard]] int shutterLine() const;
  [[nodiscard]] int converterBits() const;
  /// The area read out; nothing says that it lies within the sensor.
  [[nodiscard]] Area readoutArea() const;
  /// Of the clock that times the lines; 0 for a setting that the sensor does not have, and while
  /// its generator is not set to the clock that comes in.
  [[nodiscard]] int clockKilohertz() const;
  /// Clock cycles that a row takes at least, at the present clock.
  [[nodiscard]] int leastLineCycles() const;

 private:
  static constexpr std::uint16_t kFirst = 0x3000;
  static constexpr std::uint16_t kCount = 0x400;

  [[nodiscard]] int value(std::uint16_t address, std::size_t bytes) const;
  void powerUp(std::uint16_t address, std::uint8_t value);
  void reset();

  BoardFeatures features_;
  SensorFormat format_;
  std::vector<Trim> trims_;
  RegisterFile<kCount> registers_;
};

}  // namespace orvik::sim
