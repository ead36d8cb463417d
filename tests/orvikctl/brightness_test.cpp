// SPDX-License-Identifier: MIT
#include "tools/orvikctl/capture/brightness.h"

#include <gtest/gtest.h>

#include <vector>

namespace orvik::ctl {
namespace {

/// An image of 100 x 10 pixels of 16 bits.
class BrightnessTest : public ::testing::Test {
 protected:
  void measure(std::optional<BayerPattern> mosaic = {}) {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(words_.data());
    meter_.measure({{bytes, 2 * words_.size()}, {100, 10}, Orvik_IMG_RAW16, mosaic});
  }
  void fill(std::uint16_t value) { words_.assign(1000, value); }

  std::vector<std::uint16_t> words_ = std::vector<std::uint16_t>(1000, 500);
  BrightnessMeter meter_;
};

TEST_F(BrightnessTest, TellsTheLastImageAndTheRange) {
  EXPECT_FALSE(meter_.result());
  words_[7] = 20;
  words_[13] = 0xFFC0;  // the lower bits of a converter of ten bits are 0
  words_[14] = 0xFFBF;
  measure(BAYER_GR);
  EXPECT_EQ(meter_.result()->last.min, 20);
  EXPECT_NEAR(meter_.result()->last.median, 500, 0.5);
  EXPECT_EQ(meter_.result()->last.max, 0xFFC0);
  EXPECT_DOUBLE_EQ(meter_.result()->last.saturated, 0.001);
  fill(700);
  measure();
  const SeriesBrightness all = *meter_.result();
  EXPECT_EQ(all.last.saturated, 0);
  EXPECT_EQ(all.last.min, 700);
  EXPECT_EQ(all.min, 20);
  EXPECT_NEAR(all.lowestMedian, 500, 0.5);
  EXPECT_NEAR(all.highestMedian, 700, 0.5);
  EXPECT_EQ(all.max, 0xFFC0);
  EXPECT_DOUBLE_EQ(all.mostSaturated, 0.001);
  EXPECT_EQ(all.images, 2);
}

TEST_F(BrightnessTest, WarnsOfWhatIsWrong) {
  fill(60000);
  measure();
  EXPECT_EQ(brightnessWarning(*meter_.result(), "Light Frame"), "") << "bright, not saturated";
  EXPECT_NE(brightnessWarning(*meter_.result(), "Dark Frame"), "");
  fill(500);
  words_[0] = 0xFFFF;
  measure();
  EXPECT_NE(brightnessWarning(*meter_.result(), "Flat Frame"), "");
  meter_ = {};
  measure();
  EXPECT_EQ(brightnessWarning(*meter_.result(), "Bias Frame"), "") << "hot pixels are normal";
}

}  // namespace
}  // namespace orvik::ctl
