// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace orvik::sim {

/// The USB bridge's processor, its RAM, and the EEPROM that it boots from.
///
/// The boot loader in its ROM answers request 0xA0 at any time: it reads and writes RAM. Register
/// 0xE600 holds the processor (1) and lets it start at address 0 (0). What runs then is known by
/// RAM's first bytes: the flash helper, or else the camera's firmware.
class BridgeCore {
 public:
  static constexpr std::size_t kRamBytes = std::size_t{1} << 19U;
  static constexpr std::size_t kEepromBytes = std::size_t{1} << 16U;

  enum class Program : std::uint8_t { kFirmware, kFlashHelper, kNone };

  [[nodiscard]] Program running() const { return program_; }

  /// Request 0xA0. @return false when the range leaves the memory.
  bool writeMemory(std::uint32_t address, std::span<const std::uint8_t> bytes);
  bool readMemory(std::uint32_t address, std::span<std::uint8_t> bytes) const;

  /// The EEPROM on the bridge's I2C bus. @return false when nothing answers there.
  bool writeEeprom(int device, std::uint32_t address, std::span<const std::uint8_t> bytes);
  bool readEeprom(int device, std::uint32_t address, std::span<std::uint8_t> bytes) const;

 private:
  void start();

  Program program_ = Program::kFirmware;
  std::vector<std::uint8_t> ram_;     ///< empty until first written: zeros
  std::vector<std::uint8_t> eeprom_;  ///< empty until first written: all ones
};

}  // namespace orvik::sim
