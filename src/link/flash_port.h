// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <mutex>
#include <span>

namespace orvik {

/// The camera's serial flash: pages of 256 bytes in sectors of 64 KiB. Erasing sets a sector's
/// bits, writing can only clear bits.
///
/// The flash shares its bus with the pixel stream: while the stream has it, sectors can be erased
/// and pages cannot be written. Whoever uses the flash takes the bus first and gives it back in the
/// end (see FlashSession). Each operation is false when the camera refused or did not answer.
class FlashPort {
 public:
  static constexpr std::uint32_t kPageBytes = 256;
  static constexpr std::uint32_t kSectorBytes = 0x10000;
  /// What one request moves, as far as this library chooses it.
  static constexpr std::uint32_t kPieceBytes = 2048;
  /// Pages have 16-bit numbers.
  static constexpr std::uint32_t kMaxBytes = 0x10000 * kPageBytes;
  /// How often users of the flash try a request that failed before they give up.
  static constexpr int kAttempts = 3;

  FlashPort() = default;
  FlashPort(const FlashPort&) = delete;
  FlashPort& operator=(const FlashPort&) = delete;
  virtual ~FlashPort() = default;

  /// The right to use the flash; one thread has it at a time. Waits for it.
  [[nodiscard]] virtual std::unique_lock<std::mutex> lock() = 0;
  /// Takes the bus for the flash. @return whether the camera acknowledged it; nothing may be erased
  ///         otherwise.
  virtual bool takeBus() = 0;
  /// Gives the bus back to the pixel stream, also where it is not known who has it.
  virtual void giveBusBack() = 0;
  /// @param address of a page; @param bytes one page or several, or a part of the last one; at most
  ///        65535 bytes
  virtual bool read(std::uint32_t address, std::span<std::uint8_t> bytes) = 0;
  virtual bool write(std::uint32_t address, std::span<const std::uint8_t> bytes) = 0;
  /// Erases a sector and waits until the flash is ready again.
  /// @param sector counted from 0
  virtual bool eraseSector(std::uint32_t sector) = 0;
};

/// For the life of this object the flash belongs to this thread, and the bus to the flash if the
/// camera has acknowledged that. Where it has not, the flash is to be left alone.
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
