// SPDX-License-Identifier: MIT
#include "sim/hardware/bridge_core.h"

#include <algorithm>
#include <string_view>

namespace orvik::sim {
namespace {

constexpr std::uint32_t kProcessorRegister = 0xE600;
constexpr std::uint8_t kEepromErased = 0xFF;
constexpr int kEepromDevice = 0;
/// What the development image of the flash helper begins with.
constexpr std::string_view kHelperMark = "ORVIK-FLASH-HELP";

bool within(std::uint32_t address, std::size_t count, std::size_t size) {
  return address <= size && count <= size - address;
}

}  // namespace

void BridgeCore::start() {
  const bool helper = ram_.size() >= kHelperMark.size() &&
                      std::equal(kHelperMark.begin(), kHelperMark.end(), ram_.begin(),
                                 [](char mark, std::uint8_t byte) {
                                   return static_cast<std::uint8_t>(mark) == byte;
                                 });
  program_ = helper ? Program::kFlashHelper : Program::kFirmware;
}

bool BridgeCore::writeMemory(std::uint32_t address, std::span<const std::uint8_t> bytes) {
  if (address == kProcessorRegister && bytes.size() == 1) {
    if ((bytes.front() & 1U) != 0) {
      program_ = Program::kNone;
    } else {
      start();
    }
    return true;
  }
  if (!within(address, bytes.size(), kRamBytes)) return false;
  if (bytes.empty()) {  // a jump to the program's entry
    start();
    return true;
  }
  ram_.resize(kRamBytes);
  std::ranges::copy(bytes, ram_.begin() + address);
  return true;
}

bool BridgeCore::readMemory(std::uint32_t address, std::span<std::uint8_t> bytes) const {
  if (bytes.empty() || !within(address, bytes.size(), kRamBytes)) return false;
  if (ram_.empty()) {
    std::ranges::fill(bytes, std::uint8_t{0});
  } else {
    std::ranges::copy(std::span(ram_).subspan(address, bytes.size()), bytes.begin());
  }
  return true;
}

bool BridgeCore::writeEeprom(int device, std::uint32_t address,
                             std::span<const std::uint8_t> bytes) {
  if (device != kEepromDevice || bytes.empty() || !within(address, bytes.size(), kEepromBytes)) {
    return false;
  }
  if (eeprom_.empty()) eeprom_.assign(kEepromBytes, kEepromErased);
  std::ranges::copy(bytes, eeprom_.begin() + address);
  return true;
}

bool BridgeCore::readEeprom(int device, std::uint32_t address,
                            std::span<std::uint8_t> bytes) const {
  if (device != kEepromDevice || bytes.empty() || !within(address, bytes.size(), kEepromBytes)) {
    return false;
  }
  if (eeprom_.empty()) {
    std::ranges::fill(bytes, kEepromErased);
  } else {
    std::ranges::copy(std::span(eeprom_).subspan(address, bytes.size()), bytes.begin());
  }
  return true;
}

}  // namespace orvik::sim
