// SPDX-License-Identifier: MIT
#include "algorithm/colour_balance.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "algorithm/frame.h"

namespace orvik::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::array kPatterns = {BAYER_RG, BAYER_BG, BAYER_GR, BAYER_GB};
/// 0 red, 1 green, 2 blue, row by row of the cell, in the order of the patterns.
constexpr std::array<std::array<int, 4>, 4> kCells = {
    {{0, 1, 1, 2}, {2, 1, 1, 0}, {1, 0, 2, 1}, {1, 2, 0, 1}}};

int colourAt(BayerPattern pattern, int x, int y) {
  return kCells.at(static_cast<size_t>(pattern)).at(static_cast<size_t>(y % 2 * 2 + x % 2));
}

/// A mosaic of even colours, which alternate by `swing` from cell to cell.
Bytes mosaic(BayerPattern pattern, Size size, std::array<int, 3> colour, int swing = 0) {
  Bytes bytes(area(size));
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      const int sign = (x / 2 + y / 2) % 2 == 0 ? 1 : -1;
      bytes[static_cast<size_t>(y * size.width + x)] = static_cast<std::uint8_t>(
          colour.at(static_cast<size_t>(colourAt(pattern, x, y))) + sign * swing);
    }
  }
  return bytes;
}

RawFrame frameOf(const Bytes& bytes, Size size) {
  return {.samples = bytes.data(), .columns = size.width, .rows = size.height};
}

/// An independent implementation of the rule, sample by sample.
BlockColours slowBlock(const Bytes& bytes, Size size, BayerPattern pattern, FrameBlock block,
                       int bin) {
  std::array<std::vector<int>, 3> values;
  for (int j = 0; j < 10; ++j) {
    for (int i = 0; i < 10; ++i) {
      const auto dx = std::round(static_cast<float>(i) * (static_cast<float>(block.width) / 10));
      const auto dy = std::round(static_cast<float>(j) * (static_cast<float>(block.height) / 10));
      const int left = block.column + static_cast<int>(dx);
      const int top = block.row + static_cast<int>(dy);
      if (left < 0 || top < 0) continue;
      for (int n = 0; n < 4; ++n) {
        const int x = left + n % 2;
        const int y = top + n / 2;
        if (x >= size.width || y >= size.height) continue;
        values.at(static_cast<size_t>(colourAt(pattern, x, y)))
            .push_back(bytes[static_cast<size_t>(y * size.width + x)]);
      }
    }
  }
  std::array<int, 3> means{};
  std::array<int, 3> deviations{};
  for (size_t c = 0; c < 3; ++c) {
    const int divisor = static_cast<int>(values.at(c).size()) + 1;
    int sum = 0;
    for (const int value : values.at(c)) sum += value;
    const int mean = sum / divisor;
    int distance = 0;
    for (const int value : values.at(c)) distance += std::abs(value - mean);
    means.at(c) = std::min(mean * bin * bin, 255);
    deviations.at(c) = distance / divisor;
  }
  return {.mean = {means[0], means[1], means[2]},
          .deviation = {deviations[0], deviations[1], deviations[2]}};
}

TEST(ColourBalance, BlocksAreAsTheRuleSaysWhereverTheyLie) {
  std::mt19937 random(3);
  const auto upTo = [&](int limit) {
    return static_cast<int>(random() % static_cast<unsigned>(limit));
  };
  for (int n = 0; n < 400; ++n) {
    const Size size{1 + upTo(90), 1 + upTo(90)};
    Bytes bytes(area(size));
    for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random());
    // Some blocks are partly or completely outside the frame.
    const FrameBlock block{upTo(100) - 10, upTo(100) - 10, upTo(60), upTo(60)};
    for (const BayerPattern pattern : kPatterns) {
      const int bin = 1 + upTo(4);
      const BlockColours expected = slowBlock(bytes, size, pattern, block, bin);
      const BlockColours found = mosaicBlock(frameOf(bytes, size), pattern, block, bin);
      ASSERT_EQ(found.mean, expected.mean);
      ASSERT_EQ(found.deviation, expected.deviation);
    }
  }
  const Bytes one(4, 7);
  constexpr int kFar = std::numeric_limits<int>::max();
  EXPECT_EQ(mosaicBlock(frameOf(one, {2, 2}), BAYER_RG, {kFar, kFar, kFar, kFar}, 1).mean,
            ColourValues{});
  EXPECT_TRUE(mosaicColour(frameOf(one, {1, 1}), BAYER_RG, 1));
  EXPECT_TRUE(imageColour(one.data(), 1, 1, 1));
  EXPECT_FALSE(mosaicColour({}, BAYER_RG, 1));
  EXPECT_FALSE(imageColour(nullptr, 0, 3, 1));
}

TEST(ColourBalance, FindsTheColoursOfEveryPatternAndOfAnImage) {
  constexpr Size kSize{324, 242};
  for (const BayerPattern pattern : kPatterns) {
    const Bytes bytes = mosaic(pattern, kSize, {60, 120, 180}, 20);
    const auto colour = mosaicColour(frameOf(bytes, kSize), pattern, 1);
    // A mean is divided by one more than there are samples.
    EXPECT_NEAR(colour->red, 60, 2);
    EXPECT_NEAR(colour->green, 120, 2);
    EXPECT_NEAR(colour->blue, 180, 3);
    EXPECT_NEAR(mosaicColour(frameOf(bytes, kSize), pattern, 2)->red, 240, 8);
    EXPECT_EQ(mosaicColour(frameOf(bytes, kSize), pattern, 2)->blue, 255);
  }
  Bytes image(3 * area(kSize));
  for (size_t i = 0; i < image.size(); ++i) image[i] = static_cast<std::uint8_t>(180 - i % 3 * 60);
  const auto colour = imageColour(image.data(), kSize.width, kSize.height, 1);
  EXPECT_NEAR(colour->red, 60, 2);
  EXPECT_NEAR(colour->green, 120, 2);
  EXPECT_NEAR(colour->blue, 180, 3);
}

TEST(ColourBalance, EvenBlocksDoNotCountBesideOnesWithTexture) {
  constexpr Size kSize{320, 320};
  // A blue sky, and a quarter of the frame with something grey in it.
  Bytes bytes = mosaic(BAYER_RG, kSize, {10, 10, 40});
  const Bytes grey = mosaic(BAYER_RG, kSize, {100, 100, 100}, 30);
  for (int y = 0; y < 160; ++y) {
    for (int x = 0; x < 160; ++x) {
      const auto at = static_cast<size_t>(y * kSize.width + x);
      bytes[at] = grey[at];
    }
  }
  const auto colour = mosaicColour(frameOf(bytes, kSize), BAYER_RG, 1);
  EXPECT_NEAR(colour->red, 99, 1);
  EXPECT_NEAR(colour->blue, 99, 1);
}

TEST(ColourBalance, AColourWithoutTextureStillHasAMean) {
  constexpr Size kSize{320, 320};
  const Bytes bytes = mosaic(BAYER_RG, kSize, {3, 50, 50});
  EXPECT_EQ(mosaicColour(frameOf(bytes, kSize), BAYER_RG, 1), (ColourValues{2, 49, 49}));
}

TEST(ColourBalance, GreyIsGoodEnough) {
  EXPECT_FALSE(nextBalance({100, 100, 100}, {52, 95}, false));
  EXPECT_FALSE(nextBalance({104, 100, 96}, {52, 95}, false));
  EXPECT_TRUE(nextBalance({105, 100, 100}, {52, 95}, false));
  EXPECT_TRUE(nextBalance({100, 100, 95}, {52, 95}, false));
  EXPECT_FALSE(nextBalance({110, 100, 90}, {52, 95}, true)) << "while the brightness changes";
  EXPECT_TRUE(nextBalance({111, 100, 100}, {52, 95}, true));
  EXPECT_TRUE(nextBalance({100, 100, 89}, {52, 95}, true));
}

TEST(ColourBalance, OneStepGoesAllTheWay) {
  EXPECT_EQ(nextBalance({79, 120, 239}, {50, 90}, false), (WhiteBalance{75, 45}));
  EXPECT_EQ(nextBalance({0, 255, 0}, {99, 99}, false), (WhiteBalance{99 * 255, 99 * 255}));
}

TEST(ColourBalance, ASmallValueGetsAway) {
  EXPECT_EQ(nextBalance({99, 100, 0}, {1, 50}, false)->red, 2);
  EXPECT_EQ(nextBalance({95, 100, 110}, {4, 50}, false)->red, 5);
  EXPECT_EQ(nextBalance({95, 100, 110}, {5, 50}, false)->red, 5) << "from 5 on it may stay";
  EXPECT_EQ(nextBalance({100, 100, 110}, {4, 50}, false)->red, 3) << "it need not rise";
  EXPECT_EQ(nextBalance({150, 100, 99}, {50, 1}, false)->blue, 2);
  EXPECT_GE(nextBalance({10, 200, 200}, {1, 50}, false)->red, 2);
}

}  // namespace
}  // namespace orvik::test
