// SPDX-License-Identifier: MIT
#include "algorithm/demosaic.h"

#include <gtest/gtest.h>

#include <string>

#include "algorithm/flip.h"
#include "algorithm/frame.h"
#include "algorithm/rgb_convert.h"

namespace orvik::test {
namespace {

/// The four patterns as text, by number.
const std::array<std::string, 4> kCells{"RGGB", "BGGR", "GRBG", "GBRG"};

/// Demosaics one pixel: the mean of all samples of a colour among those it may use.
class PixelView {
 public:
  PixelView(const Frame<std::uint8_t>& raw, Size size, const std::string& cell)
      : raw_(raw), size_(size), cell_(cell) {}

  int colour(int x, int y, char wanted) const {
    return inBorderCell(x, y) ? fromCell(x, y, wanted) : fromNeighbours(x, y, wanted);
  }

 private:
  char colourAt(int x, int y) const { return cell_[static_cast<size_t>(y % 2 * 2 + x % 2)]; }
  int sample(int x, int y) const { return raw_[static_cast<size_t>(y * size_.width + x)]; }

  bool inBorderCell(int x, int y) const {
    return x / 2 == 0 || y / 2 == 0 || x / 2 == (size_.width - 1) / 2 ||
           y / 2 == (size_.height - 1) / 2;
  }

  static int reflected(int at, int size) { return at < size ? at : (at >= 2 ? at - 2 : 0); }

  int fromCell(int x, int y, char wanted) const {
    if (colourAt(x, y) == wanted) return sample(x, y);
    int sum = 0;
    int count = 0;
    for (int cy = y / 2 * 2; cy < y / 2 * 2 + 2; ++cy) {
      for (int cx = x / 2 * 2; cx < x / 2 * 2 + 2; ++cx) {
        if (colourAt(cx, cy) != wanted) continue;
        sum += sample(reflected(cx, size_.width), reflected(cy, size_.height));
        ++count;
      }
    }
    return sum / count;
  }

  int fromNeighbours(int x, int y, char wanted) const {
    if (colourAt(x, y) == wanted) return sample(x, y);
    int sum = 0;
    int count = 0;
    for (int ny = y - 1; ny <= y + 1; ++ny) {
      for (int nx = x - 1; nx <= x + 1; ++nx) {
        if (colourAt(nx, ny) != wanted) continue;
        sum += sample(nx, ny);
        ++count;
      }
    }
    return sum / count;
  }

  const Frame<std::uint8_t>& raw_;
  Size size_;
  std::string cell_;
};

std::uint8_t gained(int value, int gain) {
  return static_cast<std::uint8_t>(std::min(value * gain / 50, 255));
}

std::vector<std::uint8_t> expected(const Frame<std::uint8_t>& raw, Size size,
                                   const std::string& cell, WhiteBalance balance) {
  const PixelView view(raw, size, cell);
  std::vector<std::uint8_t> bgr;
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      bgr.push_back(gained(view.colour(x, y, 'B'), balance.blue));
      bgr.push_back(static_cast<std::uint8_t>(view.colour(x, y, 'G')));
      bgr.push_back(gained(view.colour(x, y, 'R'), balance.red));
    }
  }
  return bgr;
}

TEST(Demosaic, FollowsTheDefinitionForEveryPatternAndSize) {
  constexpr std::array<WhiteBalance, 4> kBalances{{{50, 50}, {52, 95}, {99, 1}, {1, 99}}};
  std::uint32_t seed = 1;
  for (const Size size : kSizes) {
    for (size_t pattern = 0; pattern < 4; ++pattern) {
      for (const WhiteBalance balance : kBalances) {
        SCOPED_TRACE(kCells[pattern] + " " + std::to_string(size.width) + "x" +
                     std::to_string(size.height) + " red " + std::to_string(balance.red));
        const auto raw = Frame<std::uint8_t>::random(area(size), seed++);
        Frame<std::uint8_t> bgr(3 * area(size));
        demosaic(raw.data(), bgr.data(), static_cast<BayerPattern>(pattern), size.width,
                 size.height, balance);
        ASSERT_EQ(bgr.pixels(), expected(raw, size, kCells[pattern], balance));
        ASSERT_TRUE(bgr.guardsIntact());
      }
    }
  }
}

/// The gains include those that limit samples to 255 and those that need tables.
TEST(Demosaic, LuminanceOfTheMosaicIsThatOfItsColours) {
  constexpr std::array<WhiteBalance, 5> kBalances{{{50, 50}, {52, 95}, {99, 1}, {1, 99}, {100, 7}}};
  std::uint32_t seed = 1;
  for (const Size size : kSizes) {
    for (const BayerPattern pattern : {BAYER_RG, BAYER_BG, BAYER_GR, BAYER_GB}) {
      for (const WhiteBalance balance : kBalances) {
        const auto raw = Frame<std::uint8_t>::random(area(size), seed++);
        Frame<std::uint8_t> bgr(3 * area(size));
        Frame<std::uint8_t> wanted(area(size));
        demosaic(raw.data(), bgr.data(), pattern, size.width, size.height, balance);
        luminance(bgr.data(), wanted.data(), size.width, size.height);
        Frame<std::uint8_t> rows(6 * static_cast<size_t>(size.width));
        Frame<std::uint8_t> out(area(size));
        const CellRowDemosaic cells(pattern, size.width, size.height, balance);
        for (int y = 0; y < size.height; y += 2) {
          cells.makeLuminance(raw.data(), y, rows.data(),
                              out.data() + std::ptrdiff_t{y} * size.width);
        }
        ASSERT_EQ(out.pixels(), wanted.pixels())
            << "pattern " << pattern << ", " << size.width << "x" << size.height;
        ASSERT_TRUE(out.guardsIntact() && rows.guardsIntact());
      }
    }
  }
}

TEST(Demosaic, EveryGainOfEverySampleIsExact) {
  constexpr Size kSize{134, 6};
  Frame<std::uint8_t> bgr(3 * area(kSize));
  for (int gain = 0; gain <= 101; ++gain) {
    const WhiteBalance balance{.red = gain, .blue = 100 - std::min(gain, 100)};
    for (int sample = 0; sample < 256; ++sample) {
      const Frame<std::uint8_t> raw(area(kSize), static_cast<std::uint8_t>(sample));
      demosaic(raw.data(), bgr.data(), BAYER_GB, kSize.width, kSize.height, balance);
      const std::uint8_t red = gained(sample, gain);
      const std::uint8_t blue = gained(sample, 100 - std::min(gain, 100));
      for (size_t i = 0; i < bgr.size(); i += 3) {
        ASSERT_TRUE(bgr[i] == blue && bgr[i + 1] == sample && bgr[i + 2] == red)
            << "gain " << gain << " of " << sample;
      }
    }
  }
}

TEST(Demosaic, DoesNothingWithoutAPattern) {
  const Frame<std::uint8_t> raw(16, 9);
  Frame<std::uint8_t> bgr(48, 7);
  demosaic(raw.data(), bgr.data(), static_cast<BayerPattern>(4), 4, 4, {});
  EXPECT_EQ(bgr.pixels(), std::vector<std::uint8_t>(48, 7));
}

TEST(Demosaic, PatternIsThatOfTheFlippedCell) {
  for (size_t pattern = 0; pattern < 4; ++pattern) {
    for (const bool horizontal : {false, true}) {
      for (const bool vertical : {false, true}) {
        std::string cell = kCells[pattern];
        flip(reinterpret_cast<std::uint8_t*>(cell.data()), 2, 2, vertical, horizontal);
        const auto seen = std::find(kCells.begin(), kCells.end(), cell) - kCells.begin();
        EXPECT_EQ(flippedPattern(static_cast<BayerPattern>(pattern), horizontal, vertical), seen)
            << kCells[pattern] << " becomes " << cell;
      }
    }
  }
}

}  // namespace
}  // namespace orvik::test
