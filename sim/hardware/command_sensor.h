// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>

#include "sim/hardware/register_file.h"
#include "sim/hardware/self_timed.h"
#include "sim/models.h"

namespace orvik::sim {

/// An image sensor whose own processor carries out commands.
///
/// | Register | Meaning |
/// |---|---|
/// | 0x0010 | command; reads 0 when it has been carried out |
/// | 0x0011 | state: 1 standby, 2 streaming, 3 changing configuration; read only |
/// | 0x0012, 0x0013 | address of a variable, high and low byte |
/// | 0x0014, 0x0015 | its value, high and low byte |
///
/// Commands: 1 take over the configuration, 2 standby, 3 run, 4 write the variable, 5 read it. A
/// command takes some polls of its register; what is written to the register meanwhile is lost. An
/// unknown code is never carried out, but another command may replace it.
///
/// | Variable | Meaning |
/// |---|---|
/// | 0x0100, 0x0102 | first row, first column read out |
/// | 0x0104, 0x0106 | rows, columns read out |
/// | 0x0108 | frame length in lines |
/// | 0x010A | line length in clock cycles |
/// | 0x010C | exposure in lines; 0 leaves it to the shutter line |
/// | 0x010E | gain code: 32 x doublings + 32nds of the range between two of them |
/// | 0x0110, 0x0112 | gains of red and blue, 128 is unity |
/// | 0x0114 | black level, steps of a 12-bit sample |
///
/// A written variable reads back at once and takes effect when the next change of configuration
/// ends, some polls of the state after its command. A streaming sensor keeps streaming meanwhile.
class CommandSensor {
 public:
  explicit CommandSensor(const Model& model);

  /// Whether there is a register at this address.
  [[nodiscard]] static bool has(std::uint16_t address);
  /// Any address is acknowledged; the ones that hold no register are ignored and read as 0.
  void write(std::uint16_t address, std::uint8_t value);
  /// Reading the command or the state advances the processor's work.
  std::uint8_t read(std::uint16_t address);

  [[nodiscard]] bool running() const { return running_; }
  /// @param kilohertz of the clock that it is given
  [[nodiscard]] SelfTimed state(int kilohertz) const;

 private:
  static constexpr std::size_t kVariables = 11;

  std::uint8_t pollCommand();
  std::uint8_t pollState();
  void begin(std::uint8_t code);
  void carryOut();
  [[nodiscard]] int variable(std::uint16_t address) const;

  std::uint8_t command_ = 0;
  int commandPolls_ = 0;  ///< polls until the command is carried out; 0 without a command
  int changePolls_ = 0;   ///< polls until the configuration has changed
  bool running_ = false;
  std::uint16_t address_ = 0;
  std::uint16_t value_ = 0;
  RegisterFile<kVariables, std::uint16_t>
      variables_;  ///< always held, except during the change itself
};

}  // namespace orvik::sim
