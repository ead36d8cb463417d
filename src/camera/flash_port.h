// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <span>

namespace orvik {

/// The camera's serial flash: pages of 256 bytes in sectors of 64 KiB. Erasing sets a sector's
/// bits, writing can only clear bits.
///
/// The flash shares its bus with the pixel stream. Whoever uses it takes the bus first and gives it
/// back in the end (see FlashSession). Each operation is false when the camera refused or did not
/// answer.
class FlashPort {
 public:
  static constexpr std::uint32_t kPageBytes = 256;
  static constexpr std::uint32_t kSectorBytes = 0x10000;

  FlashPort() = default;
  FlashPort(const FlashPort&) = delete;
  FlashPort& operator=(const FlashPort&) = delete;
  virtual ~FlashPort() = default;

  /// Gives the bus to the pixel stream, or takes it for the flash.
  virtual bool switchBusToStream(bool toStream) = 0;
  /// @param address of a page; @param bytes one page or several, or a part of the last one
  virtual bool read(std::uint32_t address, std::span<std::uint8_t> bytes) = 0;
  virtual bool write(std::uint32_t address, std::span<const std::uint8_t> bytes) = 0;
  /// Erases a sector and waits until the flash is ready again.
  /// @param sector counted from 0
  virtual bool eraseSector(std::uint16_t sector) = 0;
};

/// The flash has the bus for the life of this object.
class FlashSession {
 public:
  explicit FlashSession(FlashPort& port) : port_(port) { port_.switchBusToStream(false); }
  ~FlashSession() { port_.switchBusToStream(true); }
  FlashSession(const FlashSession&) = delete;
  FlashSession& operator=(const FlashSession&) = delete;

 private:
  FlashPort& port_;
};

}  // namespace orvik
