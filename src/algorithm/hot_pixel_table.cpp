// SPDX-License-Identifier: MIT
#include "algorithm/hot_pixel_table.h"

#include <algorithm>
#include <array>
#include <bit>

#include "algorithm/dark.h"

namespace orvik {
namespace {

constexpr std::array<uint8_t, 4> kMagic = {'K', 'R', 'V', 'D'};
constexpr size_t kHeaderBytes = 8;
constexpr size_t kBlockBytes = 256;

/// A place in a block with its halves exchanged, and back.
constexpr uint8_t exchangedHalves(size_t place) {
  return static_cast<uint8_t>((place & 0x0FU) << 4U | (place & 0xF0U) >> 4U);
}

size_t headerLength(std::span<const uint8_t> table) {
  const auto marked = table.size() - static_cast<size_t>(std::ranges::count(table, uint8_t{0}));
  return std::min(table.size(), 2 * table.size() / kBlockBytes + 2 * marked + 6);
}

}  // namespace

HotPixelTable deriveHotPixels(std::span<const uint8_t> dark, uint32_t mean) {
  HotPixelTable table(dark.size() / 8);
  for (size_t j = 0; j < table.size(); ++j) {
    unsigned bits = 0;
    for (unsigned k = 0; k < 8; ++k) bits |= unsigned{isHot(dark[8 * j + k], mean)} << k;
    table[j] = static_cast<uint8_t>(bits);
  }
  return table;
}

size_t countHotPixels(std::span<const uint8_t> table) noexcept {
  size_t count = 0;
  for (const uint8_t bits : table) count += static_cast<size_t>(std::popcount(bits));
  return count;
}

std::vector<size_t> listHotPixels(std::span<const uint8_t> table) {
  std::vector<size_t> pixels;
  for (size_t at = 0; at < table.size(); ++at) {
    for (unsigned bits = table[at]; bits != 0; bits &= bits - 1) {
      pixels.push_back(8 * at + static_cast<size_t>(std::countr_zero(bits)));
    }
  }
  return pixels;
}

StoredHotPixels compressHotPixels(std::span<const uint8_t> table) {
  StoredHotPixels stored;
  const size_t n = table.size();
  if (n < kHeaderBytes) return stored;
  stored.bytes.resize(n);
  stored.length = headerLength(table);
  std::ranges::copy(kMagic, stored.bytes.begin());
  for (size_t i = 0; i < 4; ++i) {
    stored.bytes[4 + i] = static_cast<uint8_t>(stored.length >> 8 * (3 - i));
  }

  size_t at = kHeaderBytes;
  const auto put = [&](uint8_t code, uint8_t value) {
    stored.bytes[at] = code;
    stored.bytes[at + 1] = value;
    at += 2;
  };
  // One step writes two pairs at most, and room is kept for both.
  for (size_t i = 0; i < n && at + 4 < n; ++i) {
    if (table[i] != 0) put(exchangedHalves(i % kBlockBytes), table[i]);
    if (i % kBlockBytes == kBlockBytes - 1 && i != n - 1) put(0, 0);
  }
  return stored;
}

std::optional<HotPixelTable> uncompressHotPixels(std::span<const uint8_t> stored,
                                                 size_t tableBytes) {
  HotPixelTable table(tableBytes);
  size_t base = 0;
  for (size_t at = kHeaderBytes; at + 1 < stored.size(); at += 2) {
    const uint8_t code = stored[at];
    const uint8_t value = stored[at + 1];
    if (code == 0 && value == 0) {
      base += kBlockBytes;
      continue;
    }
    const size_t index = base + exchangedHalves(code);
    if (index >= tableBytes) return std::nullopt;
    table[index] = value;
  }
  return table;
}

std::optional<size_t> storedHotPixelLength(std::span<const uint8_t> stored) noexcept {
  if (stored.size() < kHeaderBytes || !std::ranges::equal(stored.first(4), kMagic)) {
    return std::nullopt;
  }
  size_t length = 0;
  for (size_t i = 4; i < kHeaderBytes; ++i) length = length << 8U | stored[i];
  if (length < kHeaderBytes) return std::nullopt;
  return length;
}

}  // namespace orvik
