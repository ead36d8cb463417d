// SPDX-License-Identifier: MIT
#include "imaging/cooling_ramp.h"

#include <gtest/gtest.h>

namespace orvik::imaging {
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

}  // namespace
}  // namespace orvik::imaging
