// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <mutex>
#include <span>

namespace orvik {

/// The serial flash of a camera: pages of 256 bytes in sectors of 64 KiB. Erasing sets the bits of
/// a sector, writing can only clear bits.
///
/// The flash shares its bus with the pixel stream: while the stream has it, sectors can be erased
/// but pages cannot be written. A user of the flash takes the bus first and gives it back in the
/// end (see FlashSession). Each operation returns false when the camera refused or did not answer.
class FlashPort {
 public:
  static constexpr std::uint32_t kPageBytes = 256;
  static constexpr std::uint32_t kSectorBytes = 0x10000;
  /// The size of the requests that this library makes.
  static constexpr std::uint32_t kPieceBytes = 2048;
  /// Pages have 16-bit numbers.
  static constexpr std::uint32_t kMaxBytes = 0x10000 * kPageBytes;
  /// How often users of the flash try a request before they give up.
  static constexpr int kAttempts = 3;

  FlashPort() = default;
  FlashPort(const FlashPort&) = delete;
  FlashPort& operator=(const FlashPort&) = delete;
  virtual ~FlashPort() = default;

  /// Waits for the right to use the flash, which one thread has at a time.
  [[nodiscard]] virtual std::unique_lock<std::mutex> lock() = 0;
  /// Takes the bus for the flash. @return whether the camera acknowledged it; nothing may be erased
  ///         otherwise.
  virtual bool takeBus() = 0;
  /// Gives the bus back to the pixel stream, also if it is unknown which side has it.
  virtual void giveBusBack() = 0;
  /// @param address of a page; @param bytes one page or several, or a part of the last one; at most
  ///        65535 bytes
  virtual bool read(std::uint32_t address, std::span<std::uint8_t> bytes) = 0;
  virtual bool write(std::uint32_t address, std::span<const std::uint8_t> bytes) = 0;
  /// Erases a sector and waits until the flash is ready again.
  /// @param sector counted from 0
  virtual bool eraseSector(std::uint32_t sector) = 0;
};

/// While it exists, this thread has the right to use the flash, and the flash has the bus if the
/// camera has acknowledged that. If hasBus() is false, the flash must not be used.
class FlashSession {
 public:
  explicit FlashSession(FlashPort& port)
      : port_(port), lock_(port.lock()), hasBus_(port.takeBus()) {}
  ~FlashSession() { port_.giveBusBack(); }
  FlashSession(const FlashSession&) = delete;
  FlashSession& operator=(const FlashSession&) = delete;

  [[nodiscard]] bool hasBus() const { return hasBus_; }

 private:
  FlashPort& port_;
  std::unique_lock<std::mutex> lock_;
  const bool hasBus_;
};

}  // namespace orvik
