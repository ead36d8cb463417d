// SPDX-License-Identifier: MIT
#include "models/marked_timing.h"

#include <gtest/gtest.h>

namespace orvik::marked {
namespace {

TEST(MarkedTimingTest, LongExposuresMakeTheFrameLonger) {
  // The longest exposure within the frame time of 993 lines, 15620 us, and the shortest above it.
  EXPECT_EQ(shutterFor(15620, 976, 292, 18562).frameLength, 994U);
  EXPECT_EQ(shutterFor(15620, 976, 292, 18562).shutterStart, 2U);
  const ShutterTiming beyond = shutterFor(15621, 976, 292, 18562);
  EXPECT_EQ(beyond.frameLength, 994U);
  EXPECT_EQ(beyond.shutterStart, 0U);
  EXPECT_EQ(shutterFor(100000, 976, 292, 18562).frameLength, 6356U + 1);
}

TEST(MarkedTimingTest, ShutterStaysWithinTheFrame) {
  // For less than a line: the shutter cannot open later than two lines before the frame ends.
  const ShutterTiming shortest = shutterFor(1, 976, 292, 18562);
  EXPECT_EQ(shortest.shutterStart, 976U + 16);
  EXPECT_EQ(shortest.exposureLines, 0U);
  EXPECT_EQ(shutterFor(1'000'000'000, 976, 145, 37124).frameLength, 0xFFFFFFU);
}

}  // namespace
}  // namespace orvik::marked
