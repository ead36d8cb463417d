// SPDX-License-Identifier: MIT
#include "sim/hardware/command_sensor.h"

#include <cmath>
#include <utility>

namespace orvik::sim {
namespace {

constexpr std::uint16_t kCommand = 0x0010;
constexpr std::uint16_t kState = 0x0011;
constexpr std::uint16_t kAddressHigh = 0x0012;
constexpr std::uint16_t kAddressLow = 0x0013;
constexpr std::uint16_t kValueHigh = 0x0014;
constexpr std::uint16_t kValueLow = 0x0015;

enum Command : std::uint8_t {
  kChangeConfiguration = 1,
  kStandby = 2,
  kRun = 3,
  kWriteVariable = 4,
  kReadVariable = 5,
};

constexpr std::uint8_t kInStandby = 1;
constexpr std::uint8_t kStreaming = 2;
constexpr std::uint8_t kChanging = 3;

constexpr std::uint16_t kFirstVariable = 0x0100;
constexpr std::uint16_t kFirstRow = 0x0100;
constexpr std::uint16_t kFirstColumn = 0x0102;
constexpr std::uint16_t kRows = 0x0104;
constexpr std::uint16_t kColumns = 0x0106;
constexpr std::uint16_t kFrameLines = 0x0108;
constexpr std::uint16_t kLineCycles = 0x010A;
constexpr std::uint16_t kExposure = 0x010C;
constexpr std::uint16_t kGainCode = 0x010E;
constexpr std::uint16_t kRedGain = 0x0110;
constexpr std::uint16_t kBlueGain = 0x0112;
constexpr std::uint16_t kBlackLevel = 0x0114;

constexpr int kPollsOfACommand = 3;
constexpr int kPollsOfAChange = 5;

/// The index of a variable, or none if there is no such variable.
std::optional<std::size_t> indexOf(std::uint16_t address) {
  if (address < kFirstVariable || address > kBlackLevel || address % 2 != 0) return std::nullopt;
  return (address - kFirstVariable) / 2U;
}

std::uint16_t withHigh(std::uint16_t word, std::uint8_t byte) {
  return static_cast<std::uint16_t>((word & 0xFFU) | unsigned{byte} << 8U);
}

std::uint16_t withLow(std::uint16_t word, std::uint8_t byte) {
  return static_cast<std::uint16_t>((word & 0xFF00U) | byte);
}

std::uint8_t highOf(std::uint16_t word) { return static_cast<std::uint8_t>(word >> 8U); }
std::uint8_t lowOf(std::uint16_t word) { return static_cast<std::uint8_t>(word); }

/// The five low bits of the code are 32nds; the three bits above them are doublings.
double amplificationOf(int code) { return std::ldexp(1 + (code & 31) / 32.0, code >> 5 & 7); }

}  // namespace

CommandSensor::CommandSensor(const Model& model) {
  const SensorFormat& format = model.sensor;
  const std::pair<std::uint16_t, int> powerUp[] = {
      {kRows, format.height},
      {kColumns, format.width},
      {kFrameLines, format.height + 18},
      {kLineCycles, format.width + 94},
      {kExposure, format.height},
      {kRedGain, 128},
      {kBlueGain, 128},
  };
  for (const auto& [address, value] : powerUp) {
    variables_.write(*indexOf(address), static_cast<std::uint16_t>(value));
  }
  variables_.hold(true);
}

bool CommandSensor::has(std::uint16_t address) {
  return address >= kCommand && address <= kValueLow;
}

void CommandSensor::write(std::uint16_t address, std::uint8_t value) {
  switch (address) {
    case kCommand:
      if (commandPolls_ == 0) begin(value);
      return;
    case kAddressHigh:
      address_ = withHigh(address_, value);
      return;
    case kAddressLow:
      address_ = withLow(address_, value);
      return;
    case kValueHigh:
      value_ = withHigh(value_, value);
      return;
    case kValueLow:
      value_ = withLow(value_, value);
      return;
    default:
      return;
  }
}

std::uint8_t CommandSensor::read(std::uint16_t address) {
  switch (address) {
    case kCommand:
      return pollCommand();
    case kState:
      return pollState();
    case kAddressHigh:
      return highOf(address_);
    case kAddressLow:
      return lowOf(address_);
    case kValueHigh:
      return highOf(value_);
    case kValueLow:
      return lowOf(value_);
    default:
      return 0;
  }
}

void CommandSensor::begin(std::uint8_t code) {
  command_ = code;
  const bool known = code >= kChangeConfiguration && code <= kReadVariable;
  commandPolls_ = known ? kPollsOfACommand : 0;
}

std::uint8_t CommandSensor::pollCommand() {
  if (commandPolls_ > 0 && --commandPolls_ == 0) {
    carryOut();
    command_ = 0;
  }
  return command_;
}

std::uint8_t CommandSensor::pollState() {
  if (changePolls_ > 0 && --changePolls_ == 0) {
    variables_.hold(false);
    variables_.hold(true);
  }
  if (changePolls_ > 0) return kChanging;
  return running_ ? kStreaming : kInStandby;
}

void CommandSensor::carryOut() {
  const std::optional<std::size_t> index = indexOf(address_);
  switch (command_) {
    case kChangeConfiguration:
      changePolls_ = kPollsOfAChange;
      return;
    case kStandby:
    case kRun:
      running_ = command_ == kRun;
      return;
    case kWriteVariable:
      if (index) variables_.write(*index, value_);
      return;
    case kReadVariable:
      value_ = index ? variables_.written(*index) : std::uint16_t{0};
      return;
    default:
      return;
  }
}

int CommandSensor::variable(std::uint16_t address) const {
  return variables_.active(*indexOf(address));
}

SelfTimed CommandSensor::state(int kilohertz) const {
  SelfTimed state;
  state.area = {.x = variable(kFirstColumn),
                .y = variable(kFirstRow),
                .width = variable(kColumns),
                .height = variable(kRows)};
  state.frameLines = variable(kFrameLines);
  state.lineCycles = variable(kLineCycles);
  state.exposureLines = variable(kExposure);
  state.kilohertz = kilohertz;
  state.amplification = amplificationOf(variable(kGainCode));
  state.redGain = variable(kRedGain);
  state.blueGain = variable(kBlueGain);
  state.blackLevel = variable(kBlackLevel) & 0xFFF;
  return state;
}

}  // namespace orvik::sim
