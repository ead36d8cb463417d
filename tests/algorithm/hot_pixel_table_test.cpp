// SPDX-License-Identifier: MIT
#include "algorithm/hot_pixel_table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace orvik::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes randomTable(size_t bytes, double density, std::uint32_t seed) {
  std::mt19937 generator(seed);
  std::bernoulli_distribution marked(density);
  std::uniform_int_distribution<int> value(1, 255);
  Bytes table(bytes);
  for (std::uint8_t& byte : table) {
    if (marked(generator)) byte = static_cast<std::uint8_t>(value(generator));
  }
  return table;
}

Bytes pairsOf(const StoredHotPixels& stored) {
  const auto length = static_cast<ptrdiff_t>(stored.length);
  return {stored.bytes.begin() + 8, stored.bytes.begin() + length};
}

TEST(HotPixelTable, StoredFormByTheByte) {
  const StoredHotPixels empty = compressHotPixels(Bytes(512));
  EXPECT_EQ(Bytes(empty.bytes.begin(), empty.bytes.begin() + 10),
            (Bytes{'K', 'R', 'V', 'D', 0, 0, 0, 10, 0, 0}));
  EXPECT_EQ(empty.length, 10U);

  Bytes table(1024);
  table[0x1A3] = 0x81;
  table[0x3FF] = 0x01;
  table[0x200] = 0x7F;  // the first of its block: its code is 0, its value is not
  EXPECT_EQ(pairsOf(compressHotPixels(table)),
            (Bytes{0, 0, 0x3A, 0x81, 0, 0, 0x00, 0x7F, 0, 0, 0xFF, 0x01}));
}

TEST(HotPixelTable, MarksEachHotPixelOfADark) {
  Bytes dark(160, 20);
  dark[3] = 51;
  dark[8] = 50;
  dark[159] = 255;
  const HotPixelTable table = deriveHotPixels(dark, 20);
  HotPixelTable wanted(20);
  wanted[0] = 0x08;
  wanted[19] = 0x80;
  EXPECT_EQ(table, wanted);
  EXPECT_EQ(countHotPixels(table), 2U);
  EXPECT_EQ(deriveHotPixels(Bytes(15, 0), 0).size(), 1U);
}

/// A literal implementation of the rule for readers: a pair belongs to the table if its first byte
/// does. In the flash, the bytes after the stored ones are erased.
std::optional<Bytes> readLiterally(Bytes stored, size_t tableBytes) {
  const size_t length = stored[6] * 256U + stored[7];
  stored.resize(length + 256, 0xFF);
  Bytes table(tableBytes);
  size_t base = 0;
  for (size_t at = 8; at < length; at += 2) {
    const size_t code = stored[at];
    const size_t index = base + code % 16 * 16 + code / 16;
    if (code == 0 && stored[at + 1] == 0) {
      base += 256;
    } else if (index >= tableBytes) {
      return std::nullopt;
    } else {
      table[index] = stored[at + 1];
    }
  }
  return table;
}

TEST(HotPixelTable, WhatIsStorableComesBackAndAllElseIsRefused) {
  int refused = 0;
  for (const size_t bytes : {300U, 512U, 600U, 1000U, 4096U, 4200U, 5000U, 45120U}) {
    for (std::uint32_t seed = 0; seed < 24; ++seed) {
      Bytes table = randomTable(bytes, seed * seed * 0.001, seed);
      if (seed % 2 == 0) table.back() = 0x80;  // the sensor's bottom right pixel
      const auto stored = storableHotPixels(table);
      const auto marked = bytes - static_cast<size_t>(std::ranges::count(table, std::uint8_t{0}));
      if (!stored) {
        ++refused;
        EXPECT_GT(8 + 2 * marked + 2 * ((bytes - 1) / 256), bytes) << bytes << ", " << seed;
        continue;
      }
      ASSERT_LE(stored->size(), bytes);
      ASSERT_EQ(storedHotPixelLength(*stored), stored->size());
      ASSERT_EQ(uncompressHotPixels(*stored, bytes), table) << bytes << ", seed " << seed;
      ASSERT_EQ(readLiterally(*stored, bytes), table) << bytes << ", seed " << seed;
      Bytes usual = compressHotPixels(table).bytes;
      if (bytes % 256 == 0 && stored->size() + 4 < bytes) {
        usual.resize(stored->size());
        EXPECT_EQ(*stored, usual) << "as cameras in use store it";
      }
    }
  }
  EXPECT_GT(refused, 0);
  EXPECT_FALSE(storableHotPixels(Bytes(7)));
  EXPECT_EQ(storableHotPixels(Bytes(100))->size(), 8U);
}

TEST(HotPixelTable, WhatDoesNotCompressIsCutShort) {
  for (size_t bytes = 0; bytes < 600; ++bytes) {
    const Bytes table = randomTable(bytes, 1.0, 1);
    const StoredHotPixels stored = compressHotPixels(table);
    if (bytes < 8) {
      ASSERT_EQ(stored.length, 0U);
      continue;
    }
    ASSERT_EQ(stored.bytes.size(), bytes);
    ASSERT_LE(stored.length, bytes);
    const auto back = uncompressHotPixels(stored.bytes, bytes);
    ASSERT_TRUE(back) << bytes;
    const auto kept = std::mismatch(back->begin(), back->end(), table.begin()).first;
    ASSERT_TRUE(std::all_of(kept, back->end(), [](int v) { return v == 0; })) << bytes;
  }
}

TEST(HotPixelTable, RefusesPairsBeyondTheTable) {
  const Bytes header = {'K', 'R', 'V', 'D', 0, 0, 0, 12};
  const auto with = [&](const Bytes& pairs) {
    Bytes all = header;
    all.insert(all.end(), pairs.begin(), pairs.end());
    return all;
  };
  EXPECT_TRUE(uncompressHotPixels(with({0xF5, 1}), 96));   // place 0x5F
  EXPECT_FALSE(uncompressHotPixels(with({0x06, 1}), 96));  // place 0x60
  EXPECT_FALSE(uncompressHotPixels(with({0, 0, 0, 1}), 96));
  EXPECT_EQ(uncompressHotPixels(with({0, 0, 0, 0, 7}), 2), Bytes(2));
  EXPECT_EQ(uncompressHotPixels({}, 3), Bytes(3));
}

TEST(HotPixelTable, HeadersThatLie) {
  EXPECT_FALSE(storedHotPixelLength(Bytes{'K', 'R', 'V', 'D', 0, 0, 1}));
  EXPECT_FALSE(storedHotPixelLength(Bytes{'K', 'R', 'V', 'E', 0, 0, 0, 10}));
  EXPECT_FALSE(storedHotPixelLength(Bytes{'K', 'R', 'V', 'D', 0, 0, 0, 7}));
  EXPECT_EQ(storedHotPixelLength(Bytes{'K', 'R', 'V', 'D', 1, 2, 3, 4}), 0x01020304U);
}

}  // namespace
}  // namespace orvik::test
