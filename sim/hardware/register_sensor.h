// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "sim/hardware/register_file.h"
#include "sim/hardware/self_timed.h"
#include "sim/models.h"

namespace orvik::sim {

/// The image sensor of the older models, behind its serial interface of 16-bit registers.
///
/// | Register | Meaning |
/// |---|---|
/// | 0x3001 | hold: what is written from 1 to 0 takes effect together at its end |
/// | 0x3002, 0x3004 | first row, first column read out |
/// | 0x3006, 0x3008 | rows, columns read out |
/// | 0x300A | frame length in lines |
/// | 0x300C | line length in clock cycles |
/// | 0x300E | clock in percent, 100 to 130, on sensors that can be over-clocked |
/// | 0x3012 | exposure in lines; 0 leaves it to the shutter line |
/// | 0x301A | 0x10DC run, 0x10D8 stop |
/// | 0x301E | black level, steps of a 12-bit sample |
/// | 0x3028 | gain, 1 to 100, of 0.2 dB each |
/// | 0x302A, 0x302C | gains of red and blue, on sensors that have them; 128 is unity |
class RegisterSensor {
 public:
  explicit RegisterSensor(const Model& model);

  /// Whether there is a register at this address.
  [[nodiscard]] bool has(std::uint16_t address) const;
  /// Any address is acknowledged; the ones that hold no register are ignored and read as 0.
  void write(std::uint16_t address, std::uint16_t value);
  [[nodiscard]] std::uint16_t read(std::uint16_t address) const;

  [[nodiscard]] bool running() const;
  /// @param kilohertz of the clock that it is given
  [[nodiscard]] SelfTimed state(int kilohertz) const;

 private:
  static constexpr std::uint16_t kFirst = 0x3000;
  static constexpr std::uint16_t kCount = 0x30;

  [[nodiscard]] int value(std::uint16_t address) const;
  [[nodiscard]] int clockPercent() const;

  const BoardFeatures features_;
  RegisterFile<kCount, std::uint16_t> registers_;
};

}  // namespace orvik::sim
