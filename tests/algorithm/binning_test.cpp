// SPDX-License-Identifier: MIT
#include "algorithm/binning.h"

#include <gtest/gtest.h>

#include <functional>

#include "algorithm/frame.h"

namespace orvik::test {
namespace {

constexpr std::array<int, 6> kBins{2, 3, 4, 5, 6, 8};

size_t fullArea(Size size, int bin) { return area(size) * static_cast<size_t>(bin * bin); }

/// The bin * bin samples that make up output pixel (x, y), in a frame `bin` times as large.
template <typename Sample>
std::vector<std::uint32_t> samplesOf(const Frame<Sample>& image, Size size, int bin, bool mosaic,
                                     int x, int y) {
  const int fullWidth = size.width * bin;
  const int fullHeight = size.height * bin;
  const auto coordinate = [&](int at, int k, int full) {
    if (!mosaic) return at * bin + k;
    // Cell number `at / 2` of the output covers 2 * bin samples; samples of one colour alternate.
    int sample = (at / 2) * 2 * bin + (at % 2) + 2 * k;
    while (sample >= full) sample -= 2;
    return sample;
  };
  std::vector<std::uint32_t> samples;
  for (int j = 0; j < bin; ++j) {
    for (int i = 0; i < bin; ++i) {
      const int row = coordinate(y, j, fullHeight);
      samples.push_back(image[static_cast<size_t>(row * fullWidth + coordinate(x, i, fullWidth))]);
    }
  }
  return samples;
}

using Combine = std::function<std::uint32_t(const std::vector<std::uint32_t>&, std::uint32_t bin)>;

std::uint32_t saturatingSum(const std::vector<std::uint32_t>& samples, std::uint32_t) {
  std::uint32_t sum = 0;
  for (const std::uint32_t sample : samples) sum = std::min(sum + sample, 255U);
  return sum;
}

std::uint32_t meanOfSum(const std::vector<std::uint32_t>& samples, std::uint32_t bin) {
  std::uint32_t sum = 0;
  for (const std::uint32_t sample : samples) sum += sample;
  return sum / (bin * bin);
}

std::uint32_t sumOfQuotients(const std::vector<std::uint32_t>& samples, std::uint32_t bin) {
  std::uint32_t sum = 0;
  for (const std::uint32_t sample : samples) sum += sample / (bin * bin);
  return std::min(sum, 65535U);
}

/// Random frames: dark ones whose sums stay below the limit, and ones of the full range.
template <typename Sample>
void expectBinned(bool mosaic, const Combine& combine) {
  for (const Size size : kSizes) {
    for (const int bin : kBins) {
      for (const std::uint32_t max :
           {std::uint32_t{510} / static_cast<std::uint32_t>(bin * bin) + 1,
            std::uint32_t{std::numeric_limits<Sample>::max()}}) {
        SCOPED_TRACE(std::to_string(size.width) + "x" + std::to_string(size.height) + " bin " +
                     std::to_string(bin));
        auto image = Frame<Sample>::random(fullArea(size, bin), 41, max);
        std::vector<Sample> wanted;
        for (int y = 0; y < size.height; ++y) {
          for (int x = 0; x < size.width; ++x) {
            const auto samples = samplesOf(image, size, bin, mosaic, x, y);
            wanted.push_back(
                static_cast<Sample>(combine(samples, static_cast<std::uint32_t>(bin))));
          }
        }
        if (mosaic) {
          binMosaic(image.data(), size.width, size.height, bin);
        } else {
          binMono(image.data(), size.width, size.height, bin);
        }
        ASSERT_EQ(image.first(area(size)), wanted);
        ASSERT_TRUE(image.guardsIntact());
      }
    }
  }
}

TEST(Binning, Mono8IsTheSaturatingSum) { expectBinned<std::uint8_t>(false, saturatingSum); }
TEST(Binning, Mono16IsTheMean) { expectBinned<std::uint16_t>(false, meanOfSum); }
TEST(Binning, Mosaic8IsTheSaturatingSum) { expectBinned<std::uint8_t>(true, saturatingSum); }
TEST(Binning, Mosaic16SumsQuotients) { expectBinned<std::uint16_t>(true, sumOfQuotients); }

TEST(Binning, DoesNothingWithoutBin) {
  for (const int bin : {1, 0, -2}) {
    auto image = Frame<std::uint8_t>::random(16, 42);
    const std::vector<std::uint8_t> before = image.pixels();
    binMono(image.data(), 4, 4, bin);
    binMosaic(image.data(), 4, 4, bin);
    EXPECT_EQ(image.pixels(), before);
  }
}

}  // namespace
}  // namespace orvik::test
