// SPDX-License-Identifier: MIT
#include "algorithm/dark.h"

#include <cmath>

#include "algorithm/frame.h"

namespace orvik::test {
namespace {

int plainDifference(int pixel, int dark, int offset) {
  return std::clamp(pixel - dark + offset, 0, 255);
}

TEST(Dark, SubtractsAndLiftsWithinEightBits) {
  for (const int offset : {0, 5, 30, 255, 32512, 32513, 70000, -1, -300, 2'000'000'000}) {
    for (const std::uint32_t darkMax : {60U, 255U, 65535U}) {
      auto image = Frame<std::uint8_t>::random(1000, 7);
      const auto dark = Frame<std::uint16_t>::random(1000, 8, darkMax);
      std::vector<std::uint8_t> wanted;
      for (size_t i = 0; i < 1000; ++i) {
        wanted.push_back(static_cast<std::uint8_t>(plainDifference(image[i], dark[i], offset)));
      }
      subtractDark(image.data(), 100, 10, offset, dark.data());
      ASSERT_EQ(image.pixels(), wanted) << "offset " << offset << ", dark up to " << darkMax;
      ASSERT_TRUE(image.guardsIntact());
    }
  }
}

/// The dark value of a binned pixel in tenths, from its four samples in their order.
int plainTenths(const std::vector<int>& four, int offset) {
  for (size_t i = 0; i < 4; ++i) {
    if (four[i] <= offset + 30) continue;
    int tenths = 0;
    for (size_t j = 0; j < 4; ++j) tenths += (i == j ? 7 : 1) * four[j];
    return tenths;
  }
  return -1;
}

std::uint8_t plainBinnedDifference(int pixel, const std::vector<int>& four, int offset) {
  const int tenths = plainTenths(four, offset);
  const double dark = tenths >= 0 ? 0.0 : (four[0] + four[1] + four[2] + four[3]) * 0.25;
  // Tenths are kept as integers, so that halves are exact.
  const double difference =
      tenths >= 0 ? (10.0 * (pixel + offset) - tenths) / 10 : pixel + offset - dark;
  return static_cast<std::uint8_t>(std::clamp(std::floor(difference + 0.5), 0.0, 255.0));
}

/// Moves `at` in steps of two until it is inside.
int broughtBack(int at, int size) {
  while (at >= size && at >= 2) at -= 2;
  return std::min(at, size - 1);
}

constexpr int kLargestTenth = 6553;

TEST(Dark, WeighsTheSamplesOfABinnedPixel) {
  for (const Size size : kSizes) {
    for (const int columnStart : {0, 1, 3}) {
      for (const int offset : {0, 12, -20, kLargestTenth + 100}) {
        SCOPED_TRACE(std::to_string(size.width) + "x" + std::to_string(size.height) + " from " +
                     std::to_string(columnStart));
        const int columns = size.width / 2;
        const int rows = size.height / 2;
        // Mostly near the threshold, on both sides of it.
        auto dark = Frame<std::uint16_t>::random(area(size), 5, 60);
        if (offset > kLargestTenth) {  // on both sides of where ten times a sample exceeds 16 bits
          for (size_t i = 0; i < area(size); ++i) {
            dark[i] = static_cast<std::uint16_t>(50 * dark[i] + kLargestTenth - 1500);
          }
        }
        auto image = Frame<std::uint8_t>::random(
            static_cast<size_t>(columns) * static_cast<size_t>(rows), 6);
        std::vector<std::uint8_t> wanted;
        for (int y = 0; y < rows; ++y) {
          for (int x = 0; x < columns; ++x) {
            const int r = 2 * y - y % 2;
            const int c = 2 * (x + columnStart) - x % 2;
            std::vector<int> four;
            for (const int column : {c, c + 2}) {
              for (const int row : {r, r + 2}) {
                four.push_back(dark[static_cast<size_t>(broughtBack(row, size.height)) *
                                        static_cast<size_t>(size.width) +
                                    static_cast<size_t>(broughtBack(column, size.width))]);
              }
            }
            wanted.push_back(plainBinnedDifference(image[wanted.size()], four, offset));
          }
        }
        auto once = image;
        subtractBinnedDark(image.data(), size.width, size.height, offset, dark.data(), columnStart);
        ASSERT_EQ(image.pixels(), wanted);
        ASSERT_TRUE(image.guardsIntact());

        if (columnStart != 0) continue;
        Frame<std::uint16_t> binned(wanted.size());
        binDark(dark.data(), size.width, size.height, offset, binned.data());
        subtractDark(once.data(), columns, rows, offset, binned.data());
        ASSERT_EQ(once.pixels(), wanted) << "binned beforehand";
      }
    }
  }
}

TEST(Dark, CutsWhatAFrameOfTheRegionShows) {
  constexpr int kWidth = 48;
  constexpr int kHeight = 36;
  const auto plane = Frame<std::uint8_t>::random(kWidth * kHeight, 3);
  const SensorPlane sensor{plane.data(), kWidth, kHeight};
  for (const int step : {1, 2}) {
    for (const int bin : {1, 2, 3, 4}) {
      for (const int start : {0, 4, -4, 20}) {
        const FrameRegion region{start, start / 2, 8, 6, bin, step};
        Frame<std::uint16_t> cut(region.samples(), 9);
        cutPlane(sensor, region, cut.data());
        for (int y = 0; y < 6; ++y) {
          for (int x = 0; x < 8; ++x) {
            double sum = 0;
            bool beyond = false;
            for (int j = 0; j < bin; ++j) {
              for (int i = 0; i < bin; ++i) {
                const int column = step == 1 ? x * bin + i : x / 2 * 2 * bin + x % 2 + 2 * i;
                const int row = step == 1 ? y * bin + j : y / 2 * 2 * bin + y % 2 + 2 * j;
                const int sx = start + column;
                const int sy = start / 2 + row;
                const bool outside = sx < 0 || sy < 0 || sx >= kWidth || sy >= kHeight;
                beyond = beyond || outside;
                if (!outside) sum += plane[static_cast<size_t>(sy * kWidth + sx)];
              }
            }
            const double mean = beyond ? 0 : sum / (bin * bin);
            ASSERT_EQ(cut[static_cast<size_t>(y * 8 + x)], std::ceil(mean - 0.5))
                << "bin " << bin << " step " << step << " start " << start << " at " << x << ","
                << y;
          }
        }
        ASSERT_TRUE(cut.guardsIntact());
      }
    }
  }
}

TEST(Dark, HotSamplesStandThirtyOneAboveTheMean) {
  EXPECT_FALSE(isHot(40, 10));
  EXPECT_TRUE(isHot(41, 10));
  EXPECT_FALSE(isHot(10, 41));
  const std::vector<std::uint16_t> dark = {2, 2, 2, 2, 2, 200, 2, 66};
  EXPECT_EQ(darkMean(dark), 34U) << "34.75, truncated";
  EXPECT_EQ(hotSamples(dark, 34), (std::vector<std::uint32_t>{5, 7}));
  EXPECT_EQ(darkMean(std::span<const std::uint8_t>{}), 0U);
}

}  // namespace
}  // namespace orvik::test
