// SPDX-License-Identifier: MIT
#include "sim/hardware/spi_flash.h"

#include <algorithm>
#include <utility>

namespace orvik::sim {
namespace {

constexpr std::uint8_t kErased = 0xFF;
constexpr int kErasePolls = 3;

}  // namespace

SpiFlash::SpiFlash(std::shared_ptr<FlashFile> file) : file_(std::move(file)) {
  if (file_) cells_ = file_->contents();
}

bool SpiFlash::keep(std::size_t start, std::size_t count) {
  return !file_ || file_->store(start, std::span(cells_).subspan(start, count));
}

bool SpiFlash::accepts(std::size_t page, std::size_t count) const {
  const std::size_t start = page * kPageBytes;
  return busyPolls_ == 0 && count > 0 && start < kBytes && count <= kBytes - start;
}

bool SpiFlash::read(std::size_t page, std::span<std::uint8_t> bytes) const {
  if (!accepts(page, bytes.size())) return false;
  if (cells_.empty()) {
    std::ranges::fill(bytes, kErased);
  } else {
    std::ranges::copy(std::span(cells_).subspan(page * kPageBytes, bytes.size()), bytes.begin());
  }
  return true;
}

bool SpiFlash::write(std::size_t page, std::span<const std::uint8_t> bytes) {
  if (!accepts(page, bytes.size())) return false;
  if (cells_.empty()) cells_.assign(kBytes, kErased);
  std::size_t at = page * kPageBytes;
  for (const std::uint8_t byte : bytes) {
    cells_[at] = static_cast<std::uint8_t>(cells_[at] & byte);
    ++at;
  }
  return keep(page * kPageBytes, bytes.size());
}

bool SpiFlash::eraseSector(std::size_t sector) {
  if (pollStatus() != 0 || sector >= kBytes / kSectorBytes) return false;
  if (!cells_.empty()) {
    std::ranges::fill(std::span(cells_).subspan(sector * kSectorBytes, kSectorBytes), kErased);
  }
  busyPolls_ = kErasePolls;
  return cells_.empty() || keep(sector * kSectorBytes, kSectorBytes);
}

std::uint8_t SpiFlash::pollStatus() {
  if (busyPolls_ == 0) return 0;
  --busyPolls_;
  return 1;
}

}  // namespace orvik::sim
