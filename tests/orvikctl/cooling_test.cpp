// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "tools/orvikctl/cooling_display.h"
#include "tools/orvikctl/cooling_ramp.h"

namespace orvik::ctl {
namespace {

TEST(CoolingRamp, MovesAtItsRateAndStays) {
  const CoolingRamp down(20.4, -10, 3);  // a degree in 20 s
  EXPECT_EQ(down.targetAt(0), 20);
  EXPECT_EQ(down.targetAt(20), 19);
  EXPECT_EQ(down.targetAt(300), 5);
  EXPECT_EQ(down.targetAt(607), -10);
  EXPECT_EQ(down.targetAt(1e9), -10);
  EXPECT_NEAR(down.duration(), 608, 1e-6);
  const CoolingRamp up(-10, 20, 60);
  EXPECT_EQ(up.targetAt(-5), -10);
  EXPECT_EQ(up.targetAt(12), 2);
  EXPECT_EQ(up.targetAt(30), 20);
  EXPECT_EQ(CoolingRamp(5, 5, 1).duration(), 0);
}

TEST(CoolingPlot, DrawsTheLatestAtTheRight) {
  std::deque<CoolingSample> samples;
  for (int n = 0; n < 5; ++n) {
    samples.push_back({.seconds = 1.0 * n, .temperature = 10.0 - n, .target = 6, .power = 10});
  }
  EXPECT_EQ(coolingPlot(samples, 4, 4), (std::vector<std::string>{
                                            "   9.0 |*   ",
                                            "   8.0 | *  ",
                                            "   7.0 |  * ",
                                            "   6.0 |---*",
                                        }))
      << "the first sample has no room, and its temperature no row";
  EXPECT_EQ(coolingPlot(samples, 10, 5).front(), "  10.0 |     *    ");
  EXPECT_TRUE(coolingPlot({}, 4, 4).empty());
  samples.resize(1);
  samples[0].target = 10;
  EXPECT_EQ(coolingPlot(samples, 2, 2), (std::vector<std::string>{"  11.0 |  ", "  10.0 | *"}));
  EXPECT_EQ(coolingText({.seconds = 62, .temperature = -0.5, .target = -1, .power = 7}),
            "1:02  -0.5 degC  target -1 degC  power 7 %");
}

}  // namespace
}  // namespace orvik::ctl
