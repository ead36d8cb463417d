// SPDX-License-Identifier: MIT
#include "models/marked_timing.h"

#include <gtest/gtest.h>

namespace orvik::marked {
namespace {

TEST(MarkedTimingTest, ShutterOpensLateForShortExposures) {
  // A line of 292 cycles at 18562 kHz lasts 15.73 us; 10000 us are 635 of them.
  const ShutterTiming timing = shutterFor(10000, 976, 292, 18562);
  EXPECT_EQ(timing.frameLength, 994U);
  EXPECT_EQ(timing.shutterStart, 358U);
  EXPECT_EQ(timing.exposureLines, 634U);
}

TEST(MarkedTimingTest, LongExposuresMakeTheFrameLonger) {
  // The longest exposure inside the frame time of 993 lines, 15620 us, and the first beyond it.
  EXPECT_EQ(shutterFor(15620, 976, 292, 18562).frameLength, 994U);
  EXPECT_EQ(shutterFor(15620, 976, 292, 18562).shutterStart, 2U);
  const ShutterTiming beyond = shutterFor(15621, 976, 292, 18562);
  EXPECT_EQ(beyond.frameLength, 994U);
  EXPECT_EQ(beyond.shutterStart, 0U);
  EXPECT_EQ(shutterFor(100000, 976, 292, 18562).frameLength, 6356U + 1);
}

TEST(MarkedTimingTest, ShutterStaysWithinTheFrame) {
  // Less than a line: the shutter cannot open later than two lines before the frame ends.
  const ShutterTiming shortest = shutterFor(1, 976, 292, 18562);
  EXPECT_EQ(shortest.shutterStart, 976U + 16);
  EXPECT_EQ(shortest.exposureLines, 0U);
  EXPECT_EQ(shutterFor(1'000'000'000, 976, 145, 37124).frameLength, 0xFFFFFFU);
}

TEST(MarkedTimingTest, ClockFollowsTheMode) {
  EXPECT_EQ(clockForMode(true, true, false).khz, 9281);
  EXPECT_EQ(clockForMode(false, true, false).khz, 37124);
  EXPECT_EQ(clockForMode(false, true, true).khz, 18562) << "16 bits are never fast";
  EXPECT_EQ(clockForMode(false, false, false).registerValue, 0x11);

  EXPECT_EQ(clockForKhz(37124, false).minLineLength, 249);
  EXPECT_EQ(clockForKhz(9281, true).minLineLength, 145);
  EXPECT_EQ(clockForKhz(9281, false).registerValue, 0x12);
  EXPECT_EQ(clockForKhz(12345, false).khz, 12345) << "an unknown clock is taken at its word";
}

}  // namespace
}  // namespace orvik::marked
