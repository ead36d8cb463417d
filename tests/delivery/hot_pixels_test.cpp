// SPDX-License-Identifier: MIT
#include "delivery/hot_pixels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <mutex>
#include <random>

#include "delivery/hot_pixel_storage.h"

namespace orvik::test {
namespace {

constexpr std::size_t kFlashBytes = 0x100000;
constexpr std::uint32_t kStart = 0x40000;

/// A flash chip that works correctly. A write only clears bits. Reads and writes need the bus, an
/// erase does not. `fails` decides, by the number of the request, which requests are lost.
class FakeFlash final : public FlashPort {
 public:
  std::vector<std::uint8_t> cells = std::vector<std::uint8_t>(kFlashBytes, 0xFF);
  std::function<bool(int request)> fails = [](int) { return false; };
  std::function<void(std::span<std::uint8_t> written)> spoil = [](auto) {};
  int requests = 0;
  bool busWithStream = true;
  std::vector<int> erased;

  std::unique_lock<std::mutex> lock() override { return std::unique_lock(mutex_); }
  bool takeBus() override {
    if (next()) return false;
    busWithStream = false;
    return true;
  }
  void giveBusBack() override {
    if (!next()) busWithStream = true;
  }
  bool read(std::uint32_t address, std::span<std::uint8_t> bytes) override {
    if (next() || busWithStream) return false;
    std::copy_n(cells.begin() + address, bytes.size(), bytes.begin());
    return true;
  }
  bool write(std::uint32_t address, std::span<const std::uint8_t> bytes) override {
    if (next() || busWithStream) return false;
    for (std::size_t i = 0; i < bytes.size(); ++i) cells[address + i] &= bytes[i];
    spoil(std::span(cells).subspan(address, bytes.size()));
    return true;
  }
  bool eraseSector(std::uint32_t sector) override {
    if (next()) return false;
    erased.push_back(static_cast<int>(sector));
    std::fill_n(cells.begin() + sector * 0x10000, 0x10000, std::uint8_t{0xFF});
    return true;
  }

 private:
  bool next() { return fails(requests++); }

  std::mutex mutex_;
};

/// @return a table whose stored form is about `pairs` * 2 bytes long
HotPixelTable tableWith(std::size_t bytes, int pairs, std::uint32_t seed = 1) {
  HotPixelTable table(bytes);
  std::mt19937 generator(seed);
  for (int i = 0; i < pairs; ++i) table[generator() % bytes] = 0x11;
  table[bytes - 1] = 0;
  return table;
}

bool save(FakeFlash& flash, const HotPixelTable& table) {
  return saveHotPixels(flash, table) == HotPixelSaving::kDone;
}

constexpr std::size_t kTableBytes = 159232;  // a whole number of blocks

TEST(HotPixelStorage, WhatWasSavedIsLoaded) {
  FakeFlash flash;
  for (const int pairs : {0, 300, 2000, 40000}) {
    const HotPixelTable table = tableWith(kTableBytes, pairs);
    flash.erased.clear();
    ASSERT_TRUE(save(flash, table)) << pairs;
    EXPECT_TRUE(flash.busWithStream);
    const std::size_t length = compressHotPixels(table).length;
    EXPECT_EQ(flash.erased.size(), (length + 0xFFFF) / 0x10000);
    EXPECT_EQ(flash.erased.front(), 4);
    EXPECT_TRUE(std::all_of(flash.cells.begin() + kStart + static_cast<std::ptrdiff_t>(length),
                            flash.cells.end(), [](int v) { return v == 0xFF; }))
        << "nothing behind the table";
    const LoadedHotPixels loaded = loadHotPixels(flash, kTableBytes);
    EXPECT_TRUE(loaded.isComplete);
    EXPECT_EQ(loaded.table, table) << pairs;
    EXPECT_TRUE(flash.busWithStream);
  }
}

TEST(HotPixelStorage, ATableThatDoesNotFitIsRefusedAndTheOneBeforeIsKept) {
  constexpr std::size_t kSmallTable = 38400;
  FakeFlash flash;
  const HotPixelTable before = tableWith(kSmallTable, 10);
  ASSERT_TRUE(save(flash, before));
  flash.requests = 0;
  EXPECT_EQ(saveHotPixels(flash, HotPixelTable(0x80000, 1)), HotPixelSaving::kNoRoom)
      << "no form longer than the flash's room, 192 KiB";
  EXPECT_EQ(saveHotPixels(flash, HotPixelTable(kSmallTable, 0x80)), HotPixelSaving::kNoRoom)
      << "no form longer than the table";
  EXPECT_EQ(flash.requests, 0);
  EXPECT_EQ(loadHotPixels(flash, kSmallTable).table, before);
}

TEST(HotPixelStorage, APageIsTriedThreeTimes) {
  for (const int spoilt : {1, 2, 3}) {
    FakeFlash flash;
    int left = spoilt;
    flash.spoil = [&](std::span<std::uint8_t> written) {
      // The wrong bit is corrected when the page is written again after the last failure.
      static std::uint8_t meant = 0;
      if (left == spoilt) meant = written[0];
      written[0] = left > 0 ? static_cast<std::uint8_t>(meant | 0x80) : meant;
      --left;
    };
    EXPECT_EQ(save(flash, tableWith(2048, 5)), spoilt < 3) << spoilt;
    EXPECT_TRUE(flash.busWithStream);
  }
}

TEST(HotPixelStorage, ASaveThatBreaksOffAnywhereCanBeRepeated) {
  const HotPixelTable before = tableWith(kTableBytes, 3000, 2);
  const HotPixelTable after = tableWith(kTableBytes, 3000, 3);
  FakeFlash counting;
  ASSERT_TRUE(save(counting, after));
  ASSERT_GT(counting.requests, 8);
  for (int broken = 0; broken < counting.requests; ++broken) {
    FakeFlash flash;
    ASSERT_TRUE(save(flash, before));
    flash.requests = 0;
    flash.fails = [&](int request) { return request >= broken; };
    const bool saved = save(flash, after);
    EXPECT_EQ(saved, broken == counting.requests - 1) << "only giving back the bus was lost";
    flash.fails = [](int) { return false; };
    const auto found = loadHotPixels(flash, kTableBytes).table;
    if (broken <= 1) {
      EXPECT_EQ(found, before) << "nothing is erased without the bus";
    } else if (found) {
      EXPECT_EQ(found, after) << "half a table is none, at request " << broken;
    }
    ASSERT_TRUE(save(flash, after)) << "after a break at request " << broken;
    ASSERT_EQ(loadHotPixels(flash, kTableBytes).table, after);
    ASSERT_TRUE(flash.busWithStream);
  }
}

TEST(HotPixelStorage, LoadsWhatCanBeRead) {
  FakeFlash flash;
  const HotPixelTable table = tableWith(kTableBytes, 6000);
  ASSERT_TRUE(save(flash, table));
  flash.requests = 0;
  flash.fails = [](int request) { return request == 1 || request == 4 || request == 5; };
  EXPECT_TRUE(loadHotPixels(flash, kTableBytes).isComplete) << "the third attempt succeeds";

  flash.requests = 0;
  flash.fails = [](int request) { return request >= 4 && request <= 6; };
  const LoadedHotPixels part = loadHotPixels(flash, kTableBytes);
  EXPECT_FALSE(part.isComplete);
  ASSERT_TRUE(part.table);
  const auto [kept, wanted] = std::mismatch(part.table->begin(), part.table->end(), table.begin());
  EXPECT_GT(kept - part.table->begin(), 10000);
  EXPECT_TRUE(std::all_of(kept, part.table->end(), [](int v) { return v == 0; }));
  EXPECT_TRUE(flash.busWithStream);
}

TEST(HotPixelStorage, WhatIsStoredCanDoNoHarm) {
  const auto loadOf = [](std::vector<std::uint8_t> stored) {
    FakeFlash flash;
    std::copy(stored.begin(), stored.end(), flash.cells.begin() + kStart);
    HotPixels pixels(64, 64);
    EXPECT_TRUE(pixels.mark(3, 3, true));
    const bool loaded = pixels.load(flash);
    EXPECT_EQ(pixels.count(), loaded ? 2U : 1U);
    pixels.derive(std::vector<std::uint8_t>(64 * 64));
    EXPECT_EQ(pixels.count(), loaded ? 0U : 1U) << "a mark made by hand goes with its table";
    return loaded;
  };
  EXPECT_TRUE(loadOf({'K', 'R', 'V', 'D', 0, 0, 0, 12, 0x10, 1, 0x20, 1}));
  EXPECT_FALSE(loadOf({}));
  EXPECT_FALSE(loadOf({'K', 'R', 'V', 'X', 0, 0, 0, 12, 0x10, 1, 0x20, 1}));
  EXPECT_FALSE(loadOf({'K', 'R', 'V', 'D', 0, 0, 2, 1})) << "longer than the table";
  EXPECT_FALSE(loadOf({'K', 'R', 'V', 'D', 0xFF, 0xFF, 0xFF, 0xFF}));
  EXPECT_FALSE(loadOf({'K', 'R', 'V', 'D', 0, 0, 0, 14, 0, 0, 0, 0, 0x10, 1})) << "beyond it";
}

TEST(HotPixelsPart, DerivesMarksAndFollows) {
  HotPixels pixels(16, 8);
  EXPECT_FALSE(pixels.hasTable());
  std::vector<std::uint8_t> dark(128, 10);
  dark[2 * 16 + 4] = 200;
  pixels.derive(dark);
  EXPECT_EQ(pixels.count(), 1U);
  EXPECT_TRUE(pixels.mark(9, 5, true));
  EXPECT_TRUE(pixels.mark(4, 2, false));
  EXPECT_FALSE(pixels.mark(16, 0, true));
  EXPECT_FALSE(pixels.mark(0, -1, true));
  pixels.derive(dark);
  EXPECT_EQ(pixels.count(), 1U) << "marks made by hand outlive a derivation";

  std::vector<std::uint8_t> frame(64, 50);
  frame[3 * 8 + 5] = 255;  // sensor pixel (9, 5) in a region from (4, 2)
  const auto original = frame;
  const FrameRegion region{4, 2, 8, 6, 1, 1};
  pixels.follow(region);
  pixels.correct(frame, region);
  EXPECT_EQ(frame, original) << "switched off";
  pixels.use(true);
  EXPECT_EQ(pixels.countInRegion(), 1U);
  pixels.correct(frame, {4, 2, 8, 9, 1, 1});
  EXPECT_EQ(frame, original) << "a frame that is too small for its region";
  pixels.correct(frame, region);
  EXPECT_EQ(frame[3 * 8 + 5], 50);
  pixels.follow({0, 0, 8, 4, 1, 1});
  EXPECT_EQ(pixels.countInRegion(), 0U);
  frame = original;
  pixels.correct(frame, region);
  EXPECT_EQ(frame[3 * 8 + 5], 50) << "a frame from before the region changed";
}

}  // namespace
}  // namespace orvik::test
