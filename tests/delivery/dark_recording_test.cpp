// SPDX-License-Identifier: MIT
#include "delivery/dark_recording.h"

#include <gtest/gtest.h>

#include <vector>

namespace orvik {
namespace {

TEST(DarkRecording, IsTheMeanOfAsManyFramesAsTheExposureAsksFor) {
  const std::vector<std::pair<std::uint64_t, int>> counts = {
      {32, 5},      {100'999, 5}, {101'000, 4}, {325'999, 4}, {326'000, 3},
      {550'999, 3}, {551'000, 2}, {775'999, 2}, {776'000, 1}, {60'000'000, 1}};
  for (const auto& [exposureUs, frames] : counts) {
    SCOPED_TRACE(exposureUs);
    ASSERT_EQ(darkFrameCount(exposureUs), frames);
    DarkRecording recording(3, frames);
    int sum = 0;
    for (int n = 0; n < frames; ++n) {
      EXPECT_FALSE(recording.isComplete());
      const auto sample = static_cast<std::uint8_t>(40 + 7 * n);
      sum += sample;
      recording.add(std::vector<std::uint8_t>{sample, 255, 0});
    }
    EXPECT_TRUE(recording.isComplete());
    recording.add(std::vector<std::uint8_t>(3, 200));
    std::vector<std::uint8_t> mean(3);
    recording.finish(mean);
    EXPECT_EQ(mean, (std::vector<std::uint8_t>{static_cast<std::uint8_t>(sum / frames), 255, 0}));
  }
}

}  // namespace
}  // namespace orvik
