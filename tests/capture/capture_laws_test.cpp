// SPDX-License-Identifier: MIT
#include "capture/capture_laws.h"

#include <gtest/gtest.h>

#include "state/frame_time.h"

namespace orvik {
namespace {

using namespace std::chrono_literals;

TEST(CaptureLawsTest, WaitFollowsExposureOrFrameTime) {
  constexpr TimeoutLaw kTwice = {.frameTimes = 2, .margin = 50ms};
  EXPECT_EQ(readTimeoutMs(20000, 15000.0, kTwice), 1020U);
  EXPECT_EQ(readTimeoutMs(999999, 15000.0, kTwice), 1999U);
  EXPECT_EQ(readTimeoutMs(1000000, 15000.0, kTwice), 3000U);
  EXPECT_EQ(readTimeoutMs(1000, 15636.7, kTwice), 81U) << "twice the frame time and 50 ms";
  EXPECT_EQ(readTimeoutMs(1000, 15636.7, {.frameTimes = 1, .margin = 2ms}), 17U);
  EXPECT_EQ(readTimeoutMs(15000, 15000.0, kTwice), 1015U)
      << "an exposure of just the frame time is long";
}

TEST(CaptureLawsTest, FrameTimeHasEighteenLinesMoreThanRows) {
  EXPECT_NEAR(frameTimeUs(976, 292, 18562), 994 * 15.7311, 0.5);
  EXPECT_EQ(frameTimeUs(976, 292, 0), 0.0);
}

TEST(CaptureLawsTest, ASnapshotFailsAfterASecondOfBadExposures) {
  EXPECT_FALSE(snapshotHasFailed(0, 1'000'000'000));
  EXPECT_FALSE(snapshotHasFailed(100, 10000));
  EXPECT_TRUE(snapshotHasFailed(101, 10000));
  EXPECT_TRUE(snapshotHasFailed(2, 600000));
}

/// Reports `count` bad frames at the same time.
/// @return whether the last one lowered the bandwidth
bool badFrames(BandwidthFallback& fallback, BandwidthFallback::Time now, std::uint32_t& bad,
               int count, bool automatic = true, BandwidthFallback::Time since = {}) {
  bool lower = false;
  for (int i = 0; i < count; ++i) {
    ++bad;
    lower = fallback.onBadFrame(now, automatic, since, bad);
  }
  return lower;
}

TEST(CaptureLawsTest, BandwidthFallsAfterTwoGroupsOfBadFramesInFiveSeconds) {
  BandwidthFallback fallback(0s);
  std::uint32_t bad = 0;
  EXPECT_FALSE(badFrames(fallback, 1s, bad, 3)) << "the first group only counts";
  EXPECT_EQ(bad, 0U);
  EXPECT_FALSE(badFrames(fallback, 2s, bad, 2));
  EXPECT_EQ(bad, 2U);
  EXPECT_TRUE(badFrames(fallback, 3s, bad, 1));
  EXPECT_TRUE(badFrames(fallback, 4s, bad, 3));
  EXPECT_FALSE(badFrames(fallback, 9s, bad, 3)) << "five seconds after the last group";
}

TEST(CaptureLawsTest, BandwidthStaysByHandAndAfterTwentySeconds) {
  std::uint32_t bad = 0;
  BandwidthFallback byHand(0s);
  EXPECT_FALSE(badFrames(byHand, 1s, bad, 30, false));
  EXPECT_EQ(bad, 30U);

  bad = 0;
  BandwidthFallback late(0s);
  badFrames(late, 18s, bad, 3);
  EXPECT_FALSE(badFrames(late, 20s, bad, 3));
  EXPECT_EQ(bad, 3U);

  // Switching automatic bandwidth on during the capture starts a new period of twenty seconds.
  bad = 0;
  badFrames(late, 110s, bad, 3, true, 100s);
  EXPECT_TRUE(badFrames(late, 111s, bad, 3, true, 100s));
  EXPECT_FALSE(badFrames(late, 120s, bad, 30, true, 100s));
}

}  // namespace
}  // namespace orvik
