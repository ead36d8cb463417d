// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "sim/hardware/flash_file.h"

namespace orvik::sim {

/// The camera's serial flash: 1 MiB of 256-byte pages in 64 KiB sectors. Erasing a sector sets all
/// its bits; writing can only clear bits. After an erase command the chip is busy for some polls of
/// its status, and refuses all else meanwhile; a refused erase command takes as long as a poll.
class SpiFlash {
 public:
  static constexpr std::size_t kBytes = std::size_t{1} << 20U;
  static constexpr std::size_t kPageBytes = 256;
  static constexpr std::size_t kSectorBytes = std::size_t{1} << 16U;

  SpiFlash() = default;
  /// @param file that keeps it; null for a flash that forgets
  explicit SpiFlash(std::shared_ptr<FlashFile> file);

  /// Each answers false, and does nothing, when the chip is busy or the range leaves it.
  bool read(std::size_t page, std::span<std::uint8_t> bytes) const;
  bool write(std::size_t page, std::span<const std::uint8_t> bytes);
  bool eraseSector(std::size_t sector);

  /// @return 0 when the chip is ready.
  std::uint8_t pollStatus();

 private:
  [[nodiscard]] bool accepts(std::size_t page, std::size_t count) const;

  bool keep(std::size_t start, std::size_t count);

  std::vector<std::uint8_t> cells_;  ///< empty until first written: all ones
  std::shared_ptr<FlashFile> file_;
  int busyPolls_ = 0;
};

}  // namespace orvik::sim
