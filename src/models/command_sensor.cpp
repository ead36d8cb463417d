// SPDX-License-Identifier: MIT
#include "models/command_sensor.h"

#include <chrono>
#include <utility>

namespace orvik {
namespace {

using namespace std::chrono_literals;

// Registers of 8 bits
constexpr std::uint16_t kCommand = 0x0010;  ///< reads 0 when the command has been executed
constexpr std::uint16_t kState = 0x0011;
constexpr std::uint16_t kAddress = 0x0012;  ///< 2 bytes, high byte first
constexpr std::uint16_t kValue = 0x0014;    ///< 2 bytes, high byte first

constexpr int kCommandPolls = 50;
constexpr int kStatePolls = 100;
constexpr auto kPollInterval = 1ms;

bool writePair(VendorLink& link, std::uint16_t first, std::uint16_t value) {
  const bool high = link.writeSensorByte(first, static_cast<std::uint8_t>(value >> 8));
  const bool low = link.writeSensorByte(static_cast<std::uint16_t>(first + 1),
                                        static_cast<std::uint8_t>(value & 0xFF));
  return high && low;
}

}  // namespace

CommandSensor::CommandSensor(std::shared_ptr<seam::Clock> clock) : clock_(std::move(clock)) {}

bool CommandSensor::issue(VendorLink& link, std::uint8_t command) {
  const auto held = lock();
  if (!link.writeSensorByte(kCommand, command)) return false;
  for (int poll = 0; poll < kCommandPolls; ++poll) {
    if (poll > 0) clock_->sleepFor(kPollInterval);
    std::uint8_t pending = 0;
    if (!link.readSensorByte(kCommand, pending)) return false;
    if (pending == 0) return true;
  }
  return false;
}

CommandSensor::State CommandSensor::readState(VendorLink& link) {
  std::uint8_t state = 0;
  link.readSensorByte(kState, state);
  return static_cast<State>(state);
}

bool CommandSensor::apply(VendorLink& link) {
  const auto held = lock();
  if (!issue(link, Command::kApply)) return false;
  for (int poll = 0; poll < kStatePolls; ++poll) {
    const State now = readState(link);
    if (now != State::kChanging) return now != State::kUnknown;
    clock_->sleepFor(kPollInterval);
  }
  return false;
}

bool CommandSensor::write(VendorLink& link, std::uint16_t address, std::uint16_t value) {
  const auto held = lock();
  return writePair(link, kAddress, address) && writePair(link, kValue, value) &&
         issue(link, Command::kWriteVariable);
}

bool CommandSensor::read(VendorLink& link, std::uint16_t address, std::uint16_t& value) {
  const auto held = lock();
  value = 0;
  std::uint8_t high = 0;
  std::uint8_t low = 0;
  if (!writePair(link, kAddress, address) || !issue(link, Command::kReadVariable) ||
      !link.readSensorByte(kValue, high) || !link.readSensorByte(kValue + 1, low)) {
    return false;
  }
  value = static_cast<std::uint16_t>(high << 8 | low);
  return true;
}

}  // namespace orvik
