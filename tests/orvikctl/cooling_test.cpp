// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "tools/orvikctl/cooling_display.h"

namespace orvik::ctl {
namespace {

TEST(CoolingPlot, DrawsTheLatestAtTheRight) {
  std::deque<imaging::CoolingSample> samples;
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
