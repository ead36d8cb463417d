// SPDX-License-Identifier: MIT
#include "algorithm/hot_pixel_table.h"

#include <algorithm>
#include <array>
#include <bit>
#include <utility>

#include "algorithm/dark.h"

namespace orvik {
namespace {

constexpr std::array<std::uint8_t, 4> kMagic = {'K', 'R', 'V', 'D'};
constexpr std::size_t kHeaderBytes = 8;
constexpr std::size_t kBlockBytes = 256;

/// Exchanges the two 4-bit halves of a place in a block. Applied twice, it gives the place again.
constexpr std::uint8_t exchangedHalves(std::size_t place) {
  return static_cast<std::uint8_t>((place & 0x0FU) << 4U | (place & 0xF0U) >> 4U);
}

std::size_t headerLength(std::span<const std::uint8_t> table) {
  const auto marked =
      table.size() - static_cast<std::size_t>(std::ranges::count(table, std::uint8_t{0}));
  return std::min(table.size(), 2 * table.size() / kBlockBytes + 2 * marked + 6);
}

void writeHeader(std::span<std::uint8_t> stored, std::size_t length) {
  std::ranges::copy(kMagic, stored.begin());
  for (std::size_t i = 0; i < 4; ++i) {
    stored[kMagic.size() + i] = static_cast<std::uint8_t>(length >> 8 * (3 - i));
  }
}

/// Calls `put(code, value)` for the pairs of byte `i` of a table: two at most.
template <class Put>
void putPairs(std::span<const std::uint8_t> table, std::size_t i, Put put) {
  if (table[i] != 0) put(exchangedHalves(i % kBlockBytes), table[i]);
  if (i % kBlockBytes == kBlockBytes - 1 && i != table.size() - 1) put(0, 0);
}

/// Whether a reader gets the table back. An odd length does not qualify: the byte that follows the
/// stored form in the flash is unknown and would complete the last pair.
bool readsBack(std::span<const std::uint8_t> stored, std::span<const std::uint8_t> table) {
  if (storedHotPixelLength(stored) != stored.size() || stored.size() % 2 != 0) return false;
  const auto back = uncompressHotPixels(stored, table.size());
  return back && std::ranges::equal(*back, table);
}

/// All pairs of a table. If that is longer than the table, the block marks at the end, which carry
/// no information, are left out.
std::vector<std::uint8_t> storeAllPairs(std::span<const std::uint8_t> table) {
  std::vector<std::uint8_t> stored(kHeaderBytes);
  for (std::size_t i = 0; i < table.size(); ++i) {
    putPairs(table, i, [&](std::uint8_t code, std::uint8_t value) {
      stored.push_back(code);
      stored.push_back(value);
    });
  }
  const std::size_t room = std::max(table.size(), kHeaderBytes);
  while (stored.size() > room && stored.back() == 0) {  // a block mark: other values are not 0
    stored.pop_back();
    stored.pop_back();
  }
  writeHeader(stored, stored.size());
  return stored;
}

}  // namespace

HotPixelTable deriveHotPixels(std::span<const std::uint8_t> dark, std::uint32_t mean) {
  HotPixelTable table(dark.size() / 8);
  for (std::size_t j = 0; j < table.size(); ++j) {
    unsigned bits = 0;
    for (unsigned k = 0; k < 8; ++k) bits |= unsigned{isHot(dark[8 * j + k], mean)} << k;
    table[j] = static_cast<std::uint8_t>(bits);
  }
  return table;
}

std::size_t countHotPixels(std::span<const std::uint8_t> table) noexcept {
  std::size_t count = 0;
  for (const std::uint8_t bits : table) count += static_cast<std::size_t>(std::popcount(bits));
  return count;
}

std::vector<std::size_t> listHotPixels(std::span<const std::uint8_t> table) {
  std::vector<std::size_t> pixels;
  for (std::size_t at = 0; at < table.size(); ++at) {
    for (unsigned bits = table[at]; bits != 0; bits &= bits - 1) {
      pixels.push_back(8 * at + static_cast<std::size_t>(std::countr_zero(bits)));
    }
  }
  return pixels;
}

StoredHotPixels compressHotPixels(std::span<const std::uint8_t> table) {
  StoredHotPixels stored;
  const std::size_t n = table.size();
  if (n < kHeaderBytes) return stored;
  stored.bytes.resize(n);
  stored.length = headerLength(table);
  writeHeader(stored.bytes, stored.length);
  std::size_t at = kHeaderBytes;
  const auto put = [&](std::uint8_t code, std::uint8_t value) {
    stored.bytes[at] = code;
    stored.bytes[at + 1] = value;
    at += 2;
  };
  // One step writes two pairs at most, so there is always room for both.
  for (std::size_t i = 0; i < n && at + 4 < n; ++i) putPairs(table, i, put);
  return stored;
}

std::optional<std::vector<std::uint8_t>> storableHotPixels(std::span<const std::uint8_t> table) {
  StoredHotPixels usual = compressHotPixels(table);
  usual.bytes.resize(usual.length);
  if (readsBack(usual.bytes, table)) return std::move(usual.bytes);
  std::vector<std::uint8_t> all = storeAllPairs(table);
  if (all.size() > table.size()) return std::nullopt;
  return all;
}

std::optional<HotPixelTable> uncompressHotPixels(std::span<const std::uint8_t> stored,
                                                 std::size_t tableBytes) {
  HotPixelTable table(tableBytes);
  std::size_t base = 0;
  for (std::size_t at = kHeaderBytes; at + 1 < stored.size(); at += 2) {
    const std::uint8_t code = stored[at];
    const std::uint8_t value = stored[at + 1];
    if (code == 0 && value == 0) {
      base += kBlockBytes;
      continue;
    }
    const std::size_t index = base + exchangedHalves(code);
    if (index >= tableBytes) return std::nullopt;
    table[index] = value;
  }
  return table;
}

std::optional<std::size_t> storedHotPixelLength(std::span<const std::uint8_t> stored) noexcept {
  if (stored.size() < kHeaderBytes || !std::ranges::equal(stored.first(4), kMagic)) {
    return std::nullopt;
  }
  std::size_t length = 0;
  for (std::size_t i = 4; i < kHeaderBytes; ++i) length = length << 8U | stored[i];
  if (length < kHeaderBytes) return std::nullopt;
  return length;
}

}  // namespace orvik
