// SPDX-License-Identifier: MIT
#include "state/settings_history.h"

#include <gtest/gtest.h>

namespace orvik {
namespace {

using namespace std::chrono_literals;

FrameSettings exposureOf(std::chrono::microseconds exposure, int gain = 0) {
  return {.exposureUs = static_cast<std::uint64_t>(exposure.count()), .gain = gain};
}

TEST(SettingsHistoryTest, AFrameHasTheSettingsThatItsExposureBeganWith) {
  SettingsHistory history;
  history.note(exposureOf(300ms, 1), 1000ms);
  history.note(exposureOf(300ms, 2), 2000ms);

  EXPECT_EQ(history.exposedUntil(1900ms, 0ms, 20ms).settings.gain, 1);
  const auto onItsWay = history.exposedUntil(2200ms, 0ms, 20ms);
  EXPECT_EQ(onItsWay.settings.gain, 1) << "it had begun at 1900 ms";
  EXPECT_FALSE(onItsWay.isSettled);
  const auto tooEarly = history.exposedUntil(2310ms, 0ms, 20ms);
  EXPECT_EQ(tooEarly.settings.gain, 2);
  EXPECT_FALSE(tooEarly.isSettled) << "the sensor takes settings over at the start of a frame";
  EXPECT_TRUE(history.exposedUntil(2320ms, 0ms, 20ms).isSettled);
}

TEST(SettingsHistoryTest, ANewExposureTimeCountsFromItsOwnBeginning) {
  SettingsHistory history;
  history.note(exposureOf(10ms), 0ms);
  history.note(exposureOf(500ms), 1000ms);
  EXPECT_EQ(history.exposedUntil(1400ms, 0ms, 20ms).settings, exposureOf(10ms))
      << "half a second cannot have passed";
  EXPECT_EQ(history.exposedUntil(1600ms, 0ms, 20ms).settings, exposureOf(500ms));
}

TEST(SettingsHistoryTest, NothingIsExposedBeforeTheSensorRuns) {
  SettingsHistory history;
  history.note(exposureOf(10ms), 0ms);
  history.note(exposureOf(500ms), 1000ms);
  const auto first = history.exposedUntil(1100ms, 1050ms, 20ms);
  EXPECT_EQ(first.settings, exposureOf(500ms));
  EXPECT_TRUE(first.isSettled) << "it started with them";
}

TEST(SettingsHistoryTest, AnExposureOfKnownBeginning) {
  SettingsHistory history;
  history.note(exposureOf(2s), 1000ms);
  EXPECT_TRUE(history.exposedFrom(1000ms).isSettled);
  history.note(exposureOf(3s), 2000ms);
  EXPECT_EQ(history.exposedFrom(1500ms).settings, exposureOf(2s));
  EXPECT_FALSE(history.exposedFrom(1500ms).isSettled) << "changed during the exposure";
}

TEST(SettingsHistoryTest, WhatDoesNotChangeIsNoChangeAndWhatIsTooOldIsGuessed) {
  SettingsHistory history;
  EXPECT_FALSE(history.exposedUntil(1s, 0ms, 0ms).isSettled) << "nothing is known";
  history.note(exposureOf(10ms), 10ms);
  history.note(exposureOf(10ms), 900ms);
  EXPECT_TRUE(history.exposedUntil(920ms, 0ms, 20ms).isSettled);
  for (int n = 1; n <= 100; ++n) history.note(exposureOf(10ms, n), 1s + n * 1ms);
  EXPECT_EQ(history.exposedUntil(1500ms, 0ms, 0ms).settings.gain, 100);
  EXPECT_GT(history.exposedUntil(1ms, 0ms, 0ms).settings.gain, 0) << "the oldest that is left";
}

}  // namespace
}  // namespace orvik
