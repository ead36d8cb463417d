// SPDX-License-Identifier: MIT
#include "algorithm/denoise.h"

#include "algorithm/frame.h"

namespace orvik::test {
namespace {

constexpr int kWidth = 24;
constexpr int kHeight = 16;

class Field {
 public:
  explicit Field(std::uint8_t background, int step)
      : pixels_(kWidth * kHeight, background), step_(step) {}
  std::uint8_t& at(int x, int y) { return pixels_[static_cast<size_t>(y * kWidth + x)]; }
  SampleFrame<std::uint8_t> frame() { return {pixels_.data(), kWidth, kHeight, step_}; }

 private:
  Frame<std::uint8_t> pixels_;
  int step_;
};

TEST(Denoise, MendsASinglePixelAnywhere) {
  for (const int step : {1, 2}) {
    for (int y = 0; y < kHeight; ++y) {
      for (int x = 0; x < kWidth; ++x) {
        Field field(50, step);
        field.at(x, y) = 200;
        ASSERT_TRUE(mendIfHot(field.frame(), x, y)) << x << "," << y << " step " << step;
        ASSERT_EQ(field.at(x, y), 50);
        ASSERT_FALSE(mendIfHot(field.frame(), x, y));
      }
    }
  }
}

TEST(Denoise, SparesWhatIsNotASingleBrightPixel) {
  struct Case {
    const char* what;
    int background, peak, beside, below;
    bool mended;
  };
  for (const Case& c :
       {Case{"31 above", 50, 81, 50, 50, true}, Case{"30 above", 50, 80, 50, 50, false},
        Case{"a fifth is missing", 200, 240, 200, 200, false},
        Case{"the wing of a star on two sides", 50, 200, 120, 120, false},
        Case{"a wing on one side", 50, 200, 120, 50, true}}) {
    Field field(static_cast<std::uint8_t>(c.background), 2);
    field.at(10, 8) = static_cast<std::uint8_t>(c.peak);
    field.at(11, 8) = static_cast<std::uint8_t>(c.beside);
    field.at(10, 9) = static_cast<std::uint8_t>(c.below);
    EXPECT_EQ(mendIfHot(field.frame(), 10, 8), c.mended) << c.what;
  }
}

TEST(Denoise, SixteenBitsHaveTheirOwnThreshold) {
  std::vector<std::uint16_t> pixels(kWidth * kHeight, 1000);
  const SampleFrame<std::uint16_t> frame{pixels.data(), kWidth, kHeight, 1};
  std::uint16_t& sample = pixels[5 * kWidth + 5];
  sample = 1000 + 7680;
  EXPECT_FALSE(mendIfHot(frame, 5, 5));
  sample = 1000 + 7681;
  EXPECT_TRUE(mendIfHot(frame, 5, 5));
  EXPECT_EQ(sample, 1000);
}

TEST(Denoise, RiseIsMeasuredAgainstTheFlatPartOfTheRow) {
  // Right of the middle the search goes left: places 14, 12, 10 of column 18.
  Field field(100, 2);
  field.at(18, 3) = 180;
  field.at(16, 3) = 90;  // 14 differs from 16 by a tenth
  EXPECT_EQ(riseAboveRow(field.frame(), 18, 3), 80);
  field.at(12, 3) = 60;
  field.at(14, 3) = 62;  // 12 and 14 differ by less than 5 %
  EXPECT_EQ(riseAboveRow(field.frame(), 18, 3), 120);
  EXPECT_EQ(riseAboveRow(field.frame(), 2, 3), 0) << "not above its background";

  Field slope(0, 1);
  for (int x = 0; x < kWidth; ++x)
    slope.at(x, 0) = static_cast<std::uint8_t>(x % 2 == 0 ? 10 : 200);
  for (int x = 0; x < kWidth; ++x)
    EXPECT_EQ(riseAboveRow(slope.frame(), x, 0), 0) << "no flat part";
}

TEST(Denoise, OutsideAndTinyFrames) {
  for (const int step : {1, 2}) {
    for (const Size size : kSizes) {
      auto pixels = Frame<std::uint8_t>::random(area(size), 4);
      const SampleFrame<std::uint8_t> frame{pixels.data(), size.width, size.height, step};
      for (int y = -1; y <= size.height; ++y) {
        for (int x = -1; x <= size.width; ++x) mendIfHot(frame, x, y);
      }
      ASSERT_TRUE(pixels.guardsIntact());
    }
  }
  std::uint8_t only = 255;
  EXPECT_FALSE(mendIfHot(SampleFrame<std::uint8_t>{&only, 1, 1, 1}, 0, 0));
  EXPECT_FALSE(mendIfHot(SampleFrame<std::uint8_t>{&only, 0, 0, 1}, 0, 0));
}

}  // namespace
}  // namespace orvik::test
