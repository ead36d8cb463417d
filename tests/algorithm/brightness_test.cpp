// SPDX-License-Identifier: MIT
#include "algorithm/brightness.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "algorithm/frame.h"

namespace orvik::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

std::optional<int> brightness(const Bytes& bytes, int columns, int rows, int hostBin = 1) {
  return measureBrightness({.samples = bytes.data(), .columns = columns, .rows = rows}, hostBin);
}

TEST(Brightness, IsOneMoreThanTheMeanAndAtMost255) {
  EXPECT_EQ(brightness(Bytes(64 * 48, 0), 64, 48), 1);
  EXPECT_EQ(brightness(Bytes(64 * 48, 99), 64, 48), 100);
  EXPECT_EQ(brightness(Bytes(64 * 48, 254), 64, 48), 255);
  EXPECT_EQ(brightness(Bytes(64 * 48, 255), 64, 48), 255);
}

TEST(Brightness, CountsWhatTheHostWillAddUp) {
  EXPECT_EQ(brightness(Bytes(128 * 96, 40), 128, 96, 2), 164);
  EXPECT_EQ(brightness(Bytes(128 * 96, 40), 128, 96, 3), 255);
  const Bytes wide(size_t{2} * 128 * 96, 40);
  EXPECT_EQ(
      measureBrightness({.samples = wide.data(), .columns = 128, .rows = 96, .is16Bits = true}, 2),
      41)
      << "16-bit samples are averaged";
}

TEST(Brightness, SeesTheUpperByteOf16Bits) {
  Bytes bytes(size_t{2} * 64 * 48);
  for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = i % 2 == 0 ? 20 : 70;
  RawFrame frame{.samples = bytes.data(), .columns = 64, .rows = 48, .is16Bits = true};
  EXPECT_EQ(measureBrightness(frame, 1), 71);
  frame.highByteFirst = true;
  EXPECT_EQ(measureBrightness(frame, 1), 21);
}

/// An independent implementation of the rule, point by point.
bool countsAsMiddle(int x, int y, int columns, int rows) {
  return columns / 5 < x && x < 4 * columns / 5 && rows / 5 < y && y < 4 * rows / 5;
}

TEST(Brightness, SamplesTheGridsPointsInTheMiddleAndNoOthers) {
  for (const Size size : {Size{64, 48}, Size{100, 75}, Size{324, 242}, Size{1304, 976}}) {
    Bytes bytes(area(size), 200);  // only the points themselves are dark
    for (int j = 0; j < 48; ++j) {
      for (int i = 0; i < 64; ++i) {
        const auto x = static_cast<int>(
            std::round(static_cast<float>(i) * (static_cast<float>(size.width) / 64)));
        const auto y = static_cast<int>(
            std::round(static_cast<float>(j) * (static_cast<float>(size.height) / 48)));
        if (countsAsMiddle(x, y, size.width, size.height)) {
          bytes[static_cast<size_t>(y * size.width + x)] = 9;
        }
      }
    }
    EXPECT_EQ(brightness(bytes, size.width, size.height), 10) << size.width;
  }
}

TEST(Brightness, OfAnySizeReadsNothingBeyondTheFrame) {
  // The buffers have exactly the frame's size: the address sanitizer reports any read beyond them.
  for (int columns = 1; columns < 70; ++columns) {
    for (int rows = 1; rows < 60; rows += columns % 7 + 1) {
      const size_t samples = area({columns, rows});
      const auto eight = brightness(Bytes(samples, 50), columns, rows);
      const Bytes wide(2 * samples, 50);
      const auto sixteen = measureBrightness(
          {.samples = wide.data(), .columns = columns, .rows = rows, .is16Bits = true}, 1);
      EXPECT_EQ(eight, sixteen);
      EXPECT_EQ(eight.value_or(51), 51) << columns << " x " << rows;
    }
  }
  EXPECT_FALSE(brightness(Bytes(2), 1, 2)) << "there is no middle";
  EXPECT_FALSE(brightness({}, 0, 0));
  EXPECT_FALSE(brightness({}, -4, 7));
}

}  // namespace
}  // namespace orvik::test
