// SPDX-License-Identifier: MIT
#include "camera/hot_pixel_storage.h"

#include <algorithm>
#include <vector>

namespace orvik {
namespace {

constexpr std::uint32_t kStart = 0x40000;
constexpr std::size_t kRoom = 0x30000;
constexpr std::uint32_t kFirstSector = kStart / FlashPort::kSectorBytes;
constexpr std::size_t kPieceBytes = FlashPort::kPieceBytes;
constexpr int kAttempts = 3;

std::uint32_t addressOf(std::size_t offset) { return kStart + static_cast<std::uint32_t>(offset); }

bool eraseSectors(FlashPort& port, std::size_t bytes) {
  const std::size_t sectors = (bytes + FlashPort::kSectorBytes - 1) / FlashPort::kSectorBytes;
  for (std::uint32_t n = 0; n < sectors; ++n) {
    if (!port.eraseSector(kFirstSector + n)) return false;
  }
  return true;
}

/// Writing the same bytes once more does no harm: their bits are cleared already.
bool writeVerified(FlashPort& port, std::size_t offset, std::span<const std::uint8_t> piece) {
  std::vector<std::uint8_t> back(piece.size());
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    if (!port.write(addressOf(offset), piece)) continue;
    std::ranges::fill(back, std::uint8_t{0});
    if (port.read(addressOf(offset), back) && std::ranges::equal(back, piece)) return true;
  }
  return false;
}

bool readPiece(FlashPort& port, std::size_t offset, std::span<std::uint8_t> piece) {
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    if (port.read(addressOf(offset), piece)) return true;
  }
  return false;
}

constexpr std::size_t wholePages(std::size_t bytes) {
  return (bytes + FlashPort::kPageBytes - 1) / FlashPort::kPageBytes * FlashPort::kPageBytes;
}

}  // namespace

bool saveHotPixels(FlashPort& port, std::span<const std::uint8_t> table) {
  const FlashSession session(port);
  const StoredHotPixels stored = compressHotPixels(table);
  if (stored.length == 0 || stored.length > kRoom) return false;
  if (!eraseSectors(port, stored.length)) return false;
  const std::span all = std::span(stored.bytes).first(stored.length);
  for (std::size_t at = 0; at < all.size(); at += kPieceBytes) {
    if (!writeVerified(port, at, all.subspan(at, std::min(kPieceBytes, all.size() - at)))) {
      return false;
    }
  }
  return true;
}

LoadedHotPixels loadHotPixels(FlashPort& port, std::size_t tableBytes) {
  const FlashSession session(port);
  std::vector<std::uint8_t> stored(kPieceBytes);
  if (!port.read(kStart, stored)) return {};
  const auto length = storedHotPixelLength(stored);
  if (!length || *length > tableBytes || *length > kRoom) return {};

  LoadedHotPixels loaded{.table = {}, .isComplete = true};
  stored.resize(std::max(kPieceBytes, wholePages(*length)));
  std::size_t got = kPieceBytes;
  while (got < *length && loaded.isComplete) {
    const std::size_t count = std::min(kPieceBytes, stored.size() - got);
    loaded.isComplete = readPiece(port, got, std::span(stored).subspan(got, count));
    if (loaded.isComplete) got += count;
  }
  loaded.table = uncompressHotPixels(std::span(stored).first(std::min(*length, got)), tableBytes);
  return loaded;
}

}  // namespace orvik
