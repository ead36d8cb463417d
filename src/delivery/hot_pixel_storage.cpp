// SPDX-License-Identifier: MIT
#include "delivery/hot_pixel_storage.h"

#include <algorithm>
#include <vector>

namespace orvik {
namespace {

constexpr std::uint32_t kStart = 0x40000;
constexpr std::size_t kRoom = 0x30000;
constexpr std::uint32_t kFirstSector = kStart / FlashPort::kSectorBytes;
constexpr std::size_t kPieceBytes = FlashPort::kPieceBytes;
constexpr int kAttempts = FlashPort::kAttempts;

std::uint32_t addressOf(std::size_t offset) { return kStart + static_cast<std::uint32_t>(offset); }

bool eraseSectors(FlashPort& port, std::size_t bytes) {
  const std::size_t sectors = (bytes + FlashPort::kSectorBytes - 1) / FlashPort::kSectorBytes;
  for (std::uint32_t n = 0; n < sectors; ++n) {
    if (!port.eraseSector(kFirstSector + n)) return false;
  }
  return true;
}

/// Writing the same bytes again is harmless: their bits are cleared already.
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

HotPixelSaving saveHotPixels(FlashPort& port, std::span<const std::uint8_t> table) {
  const auto stored = storableHotPixels(table);
  if (!stored || stored->size() > kRoom) return HotPixelSaving::kNoRoom;
  const FlashSession session(port);
  if (!session.hasBus() || !eraseSectors(port, stored->size())) return HotPixelSaving::kFailed;
  const std::span all(*stored);
  const auto writePiece = [&](std::size_t at) {
    return writeVerified(port, at, all.subspan(at, std::min(kPieceBytes, all.size() - at)));
  };
  // The header is written last, so that no reader accepts an incomplete table.
  for (std::size_t at = kPieceBytes; at < all.size(); at += kPieceBytes) {
    if (!writePiece(at)) return HotPixelSaving::kFailed;
  }
  return writePiece(0) ? HotPixelSaving::kDone : HotPixelSaving::kFailed;
}

LoadedHotPixels loadHotPixels(FlashPort& port, std::size_t tableBytes) {
  const FlashSession session(port);
  std::vector<std::uint8_t> stored(kPieceBytes);
  if (!session.hasBus() || !readPiece(port, 0, stored)) return {};
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
