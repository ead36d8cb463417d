// SPDX-License-Identifier: MIT
#include "algorithm/rgb_convert.h"

#include <gtest/gtest.h>

#include <cmath>

#include "algorithm/frame.h"
#include "algorithm/grey10.h"

namespace orvik::test {
namespace {

/// round(value * weight * 65536), calculated from the decimal weight.
int fixed(int value, double weight) {
  return static_cast<int>(std::floor(value * weight * 65536.0 + 0.5));
}

/// The quotient that a right shift of a signed number gives.
int floorDiv65536(int sum) { return static_cast<int>(std::floor(sum / 65536.0)); }

struct Pixel {
  explicit Pixel(const std::uint8_t* bytes) : b0(bytes[0]), b1(bytes[1]), b2(bytes[2]) {}

  [[nodiscard]] std::uint8_t luma() const {
    return static_cast<std::uint8_t>(
        floorDiv65536(fixed(b0, 0.257) + fixed(b1, 0.504) + fixed(b2, 0.098)));
  }
  [[nodiscard]] std::uint8_t chroma(bool second) const {
    const int sum = second ? fixed(b2, 0.439) - fixed(b1, 0.291) - fixed(b0, 0.148)
                           : fixed(b0, 0.439) - fixed(b2, 0.071) - fixed(b1, 0.368);
    return static_cast<std::uint8_t>(floorDiv65536(sum) + 128);
  }

  int b0;
  int b1;
  int b2;
};

std::vector<std::uint8_t> expectedLuma(const std::vector<std::uint8_t>& bgr) {
  std::vector<std::uint8_t> out;
  for (size_t i = 0; i < bgr.size(); i += 3) out.push_back(Pixel(&bgr[i]).luma());
  return out;
}

std::vector<std::uint8_t> expectedYuv(const std::vector<std::uint8_t>& bgr, Size size,
                                      bool bottomUp) {
  std::vector<std::uint8_t> out;
  for (int row = 0; row < size.height; ++row) {
    const int source = bottomUp ? size.height - 1 - row : row;
    for (int x = 0; x < size.width; ++x) {
      const auto at = [&](int column) {
        return Pixel(&bgr[3 * static_cast<size_t>(source * size.width + column)]);
      };
      const bool odd = x % 2 == 1;
      out.push_back(static_cast<std::uint8_t>(at(x).luma() + 16));
      out.push_back(at(odd ? x - 1 : x).chroma(odd));
    }
  }
  return out;
}

/// These include weighted sums that would be integers without the rounding of each weight.
TEST(RgbConvert, LuminanceIsExactForEveryColour) {
  std::vector<std::uint8_t> bgr(size_t{3} * 65536);
  std::vector<std::uint8_t> out(65536);
  for (int b0 = 0; b0 < 256; ++b0) {
    for (size_t i = 0; i < out.size(); ++i) {
      bgr[3 * i] = static_cast<std::uint8_t>(b0);
      bgr[3 * i + 1] = static_cast<std::uint8_t>(i >> 8);
      bgr[3 * i + 2] = static_cast<std::uint8_t>(i);
    }
    luminance(bgr.data(), out.data(), 256, 256);
    ASSERT_EQ(out, expectedLuma(bgr)) << "byte 0 is " << b0;
  }
}

/// These include all greys, for which both weighted sums would be 0 without the rounding.
TEST(RgbConvert, ChromaIsExactForEveryColour) {
  constexpr Size kSize{512, 256};
  std::vector<std::uint8_t> bgr(3 * area(kSize));
  std::vector<std::uint8_t> out(2 * area(kSize));
  for (int b0 = 0; b0 < 256; ++b0) {
    for (size_t i = 0; i < area(kSize); ++i) {  // the even pixels are all colours
      bgr[3 * i] = static_cast<std::uint8_t>(i % 2 == 0 ? b0 : 77);
      bgr[3 * i + 1] = static_cast<std::uint8_t>(i >> 9);
      bgr[3 * i + 2] = static_cast<std::uint8_t>(i >> 1);
    }
    yuv422(bgr.data(), out.data(), kSize.width, kSize.height, false);
    bool isExact = true;
    for (size_t i = 0; i < area(kSize); i += 2) {
      const Pixel pixel(&bgr[3 * i]);
      isExact &= out[2 * i + 1] == pixel.chroma(false) && out[2 * i + 3] == pixel.chroma(true);
    }
    ASSERT_TRUE(isExact) << "byte 0 is " << b0;
  }
}

TEST(RgbConvert, ReductionsWorkWhereTheOutputOverlapsTheInput) {
  constexpr Size kSize{37, 9};
  constexpr size_t kPixels = 37 * 9;
  const auto bgr = Frame<std::uint8_t>::random(3 * kPixels, 12);
  const std::vector<std::uint8_t> luma = expectedLuma(bgr.pixels());
  std::vector<std::uint8_t> channel;
  for (size_t i = 0; i < kPixels; ++i) channel.push_back(bgr[3 * i]);

  for (const size_t offset : {size_t{0}, 2 * kPixels}) {  // at the front, at the end
    Frame<std::uint8_t> image = bgr;
    std::uint8_t* const out = image.data() + offset;
    luminance(image.data(), out, kSize.width, kSize.height);
    EXPECT_EQ(std::vector<std::uint8_t>(out, out + kPixels), luma) << offset;
    image = bgr;
    firstChannel(image.data(), image.data() + offset, kSize.width, kSize.height);
    EXPECT_EQ(std::vector<std::uint8_t>(image.data() + offset, image.data() + offset + kPixels),
              channel)
        << offset;
  }
}

TEST(RgbConvert, LuminanceAndYuv422FollowTheDefinition) {
  for (const Size size : kSizes) {
    const auto bgr = Frame<std::uint8_t>::random(3 * area(size), 13);
    Frame<std::uint8_t> luma(area(size));
    luminance(bgr.data(), luma.data(), size.width, size.height);
    ASSERT_EQ(luma.pixels(), expectedLuma(bgr.pixels())) << size.width << "x" << size.height;
    ASSERT_TRUE(luma.guardsIntact());
    for (const bool bottomUp : {false, true}) {
      Frame<std::uint8_t> out(2 * area(size));
      yuv422(bgr.data(), out.data(), size.width, size.height, bottomUp);
      ASSERT_EQ(out.pixels(), expectedYuv(bgr.pixels(), size, bottomUp))
          << size.width << "x" << size.height << " bottomUp " << bottomUp;
      ASSERT_TRUE(out.guardsIntact());
    }
    Frame<std::uint8_t> inPlace = bgr;
    yuv422(inPlace.data(), inPlace.data(), size.width, size.height, false);
    ASSERT_EQ(inPlace.first(2 * area(size)), expectedYuv(bgr.pixels(), size, false));
  }
}

/// A vector must not take pixels over which a former one has written.
TEST(RgbConvert, Yuv422InPlaceIsRightForEveryWidth) {
  for (int width = 1; width < 260; ++width) {
    const Size size{width, 2};
    auto image = Frame<std::uint8_t>::random(3 * area(size), 14);
    const std::vector<std::uint8_t> expected = expectedYuv(image.pixels(), size, false);
    yuv422(image.data(), image.data(), size.width, size.height, false);
    ASSERT_EQ(image.first(2 * area(size)), expected) << width;
  }
}

TEST(RgbConvert, ExtremeColoursStayInTheVideoRange) {
  const std::vector<std::uint8_t> bgr{0, 0, 0, 255, 255, 255, 255, 0, 0, 0, 255, 255};
  std::vector<std::uint8_t> out(8);
  yuv422(bgr.data(), out.data(), 4, 1, false);
  // Black and white, then blue and yellow: each pair has the chroma of its first pixel.
  EXPECT_EQ(out, (std::vector<std::uint8_t>{16, 128, 235, 128, 81, 239, 169, 90}));
}

TEST(Grey10, PutsTheSampleThreeTimesIntoAWord) {
  const std::vector<std::uint16_t> samples{0, 1, 1023, 0x2A5, 65535};
  Frame<std::uint8_t> words(4 * samples.size() + 1);
  grey10(samples.data(), words.data() + 1, samples.size());       // not aligned
  const std::vector<std::uint8_t> wanted{0, 0, 0, 0,              //
                                         1, 4, 0x10, 0,           //
                                         0xFF, 0xFF, 0xFF, 0x3F,  //
                                         0xA5, 0x96, 0x5A, 0x2A,  //
                                         // 65535 * 0x100401 loses the bits above 32.
                                         0xFF, 0xFB, 0xF0, 0x03};
  EXPECT_EQ(std::vector<std::uint8_t>(words.data() + 1, words.data() + words.size()), wanted);
  EXPECT_TRUE(words.guardsIntact());
}

}  // namespace
}  // namespace orvik::test
