// SPDX-License-Identifier: MIT
#include "algorithm/hot_pixel_table.h"

#include <gtest/gtest.h>

#include <random>

namespace orvik::test {
namespace {

using Bytes = std::vector<uint8_t>;

Bytes randomTable(size_t bytes, double density, uint32_t seed) {
  std::mt19937 generator(seed);
  std::bernoulli_distribution marked(density);
  std::uniform_int_distribution<int> value(1, 255);
  Bytes table(bytes);
  for (uint8_t& byte : table) {
    if (marked(generator)) byte = static_cast<uint8_t>(value(generator));
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

TEST(HotPixelTable, TablesOfWholeBlocksComeBackAsTheyWere) {
  for (uint32_t seed = 0; seed < 40; ++seed) {
    for (const size_t blocks : {1U, 2U, 3U, 17U}) {
      const Bytes table = randomTable(256 * blocks, seed * 0.01, seed);
      const StoredHotPixels stored = compressHotPixels(table);
      ASSERT_EQ(stored.bytes.size(), table.size());
      ASSERT_EQ(storedHotPixelLength(stored.bytes), stored.length);
      const auto back =
          uncompressHotPixels(std::span(stored.bytes).first(stored.length), table.size());
      ASSERT_EQ(back, table) << "seed " << seed << ", " << blocks << " blocks";
    }
  }
}

TEST(HotPixelTable, OtherTablesLoseTheLastMarkAtMost) {
  for (uint32_t seed = 0; seed < 60; ++seed) {
    const Bytes table = randomTable(100 + 37 * seed, 0.02, seed);
    const StoredHotPixels stored = compressHotPixels(table);
    auto back = uncompressHotPixels(std::span(stored.bytes).first(stored.length), table.size());
    ASSERT_TRUE(back);
    const auto last = std::find_if(table.rbegin(), table.rend(), [](int v) { return v != 0; });
    if (last != table.rend()) (*back)[static_cast<size_t>(table.rend() - last) - 1] = *last;
    ASSERT_EQ(*back, table) << "seed " << seed;
  }
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
