// SPDX-License-Identifier: MIT
#include "delivery/dark_frame.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <thread>

#include "support/scratch_folder.h"

namespace orvik::test {
namespace {

constexpr int kWidth = 16;
constexpr int kHeight = 8;
constexpr std::size_t kPixels = 128;
constexpr FrameRegion kWhole{0, 0, kWidth, kHeight, 1, 2};

using Bytes = std::vector<std::uint8_t>;

/// A dark frame whose pixels are all 10, except for one.
Bytes darkWithHot(std::size_t at, std::uint8_t value) {
  Bytes dark(kPixels, 10);
  dark[at] = value;
  return dark;
}

class DarkFrameTest : public ::testing::Test {
 protected:
  std::string store(const Bytes& dark, const std::string& name = "dark.bmp") {
    EXPECT_TRUE(writeDarkFile(folder_.file(name), kWidth, kHeight, dark));
    return folder_.file(name);
  }
  Bytes subtracted(const FrameRegion& region, std::uint8_t level) {
    Bytes frame(region.samples(), level);
    dark_.subtract(frame, region);
    return frame;
  }

  ScratchFolder folder_;
  DarkFrame dark_{kWidth, kHeight};
};

TEST_F(DarkFrameTest, IsInUseOnlyLoadedAndSwitchedOn) {
  const std::string path = store(darkWithHot(20, 60));
  dark_.follow(kWhole);
  dark_.use(true);
  EXPECT_FALSE(dark_.isInUse());
  EXPECT_EQ(subtracted(kWhole, 70), Bytes(kPixels, 70));
  EXPECT_EQ(dark_.load(path), DarkFileResult::kDone);
  EXPECT_TRUE(dark_.isInUse());
  EXPECT_EQ(dark_.path(), path);
  EXPECT_EQ(dark_.mean(), 10U);
  EXPECT_EQ(dark_.hotSampleCount(), 1U);
  EXPECT_EQ(subtracted(kWhole, 70)[20], 20) << "70 - 60, and the mean of 10 stays";
  EXPECT_EQ(subtracted(kWhole, 70)[21], 70);
  dark_.use(false);
  EXPECT_EQ(subtracted(kWhole, 70)[20], 70);
}

TEST_F(DarkFrameTest, ARefusedFileChangesNothingAMissingOneEndsIt) {
  dark_.follow(kWhole);
  dark_.use(true);
  const std::string path = store(darkWithHot(20, 60));
  ASSERT_EQ(dark_.load(path), DarkFileResult::kDone);
  ASSERT_TRUE(writeDarkFile(folder_.file("other.bmp"), 8, 8, Bytes(64)));
  EXPECT_EQ(dark_.load(folder_.file("other.bmp")), DarkFileResult::kOtherSize);
  writeFile(folder_.file("text"), Bytes(2000, 'x'));
  EXPECT_EQ(dark_.load(folder_.file("text")), DarkFileResult::kNotUsable);
  EXPECT_TRUE(dark_.isInUse());
  EXPECT_EQ(dark_.path(), path);
  EXPECT_EQ(subtracted(kWhole, 70)[20], 20);

  EXPECT_EQ(dark_.load(folder_.file("none")), DarkFileResult::kCannotOpen);
  EXPECT_FALSE(dark_.isInUse());
  EXPECT_EQ(subtracted(kWhole, 70)[20], 70);
}

TEST_F(DarkFrameTest, FollowsTheRegion) {
  dark_.use(true);
  dark_.follow(kWhole);
  ASSERT_EQ(dark_.load(store(darkWithHot(3 * kWidth + 6, 110))), DarkFileResult::kDone);
  const FrameRegion part{4, 2, 8, 4, 1, 2};
  dark_.follow(part);
  EXPECT_EQ(subtracted(part, 200)[8 + 2], 200 - 110 + 13) << "the mean of this region is 13";
  EXPECT_EQ(subtracted(kWhole, 200)[3 * kWidth + 6], 200 - 110 + 10)
      << "a frame from before the region changed has a cut of its own";

  // Four samples of one colour are binned; (6, 3) contributes to column 2, row 1. With the weights
  // 0.7 for that sample and 0.1 for each of the others, the result is 80.
  const FrameRegion binned{0, 0, 8, 4, 2, 2};
  dark_.follow(binned);
  EXPECT_EQ(subtracted(binned, 200)[8 + 2], 200 - 80 + 10);
  const FrameRegion mono{0, 0, 8, 4, 2, 1};
  dark_.follow(mono);
  EXPECT_EQ(subtracted(mono, 200)[8 + 3], 200 - 35 + 10) << "the plain mean of four neighbours";

  dark_.use(false);
  dark_.follow(part);
  dark_.use(true);
  EXPECT_EQ(subtracted(part, 200)[8 + 2], 103) << "cut when it is switched on";
}

TEST_F(DarkFrameTest, AveragesFramesOfTheWholeSensor) {
  dark_.follow(kWhole);
  dark_.use(true);
  int taken = -1;
  int wanted = -1;
  dark_.recordingCount(taken, wanted);
  EXPECT_EQ(taken, 0);
  EXPECT_EQ(wanted, 1);

  dark_.startRecording(3);
  dark_.addFrame(Bytes(kPixels, 255), kWidth, kHeight);
  dark_.addFrame(Bytes(kPixels / 2, 255), kWidth, kHeight / 2);
  dark_.addFrame(darkWithHot(7, 254), kWidth, kHeight);
  EXPECT_FALSE(dark_.isRecordingOver());
  dark_.recordingCount(taken, wanted);
  EXPECT_EQ(taken, 2) << "half a frame does not count";
  EXPECT_EQ(wanted, 3);
  dark_.addFrame(Bytes(kPixels, 0), kWidth, kHeight);
  dark_.stopRecording();
  dark_.recordingCount(taken, wanted);
  EXPECT_EQ(taken, 3) << "what is over stays so";
  EXPECT_TRUE(dark_.isRecordingOver());
  EXPECT_TRUE(dark_.isInUse());
  Bytes mean(kPixels, 88);  // 265 / 3
  mean[7] = 169;            // 509 / 3
  const auto plane = dark_.plane();
  EXPECT_EQ(Bytes(plane->bytes().begin(), plane->bytes().end()), mean);

  EXPECT_TRUE(dark_.save(folder_.file("taken.bmp")));
  DarkFrame other(kWidth, kHeight);
  ASSERT_EQ(other.load(folder_.file("taken.bmp")), DarkFileResult::kDone);
  EXPECT_TRUE(std::ranges::equal(other.plane()->bytes(), mean));

  dark_.startRecording(1);
  dark_.stopRecording();
  dark_.addFrame(Bytes(kPixels, 1), kWidth, kHeight);
  EXPECT_FALSE(dark_.isRecordingOver()) << "ended before its time";
  EXPECT_TRUE(std::ranges::equal(dark_.plane()->bytes(), mean));
}

TEST_F(DarkFrameTest, TakesAsManyFramesAsTheExposureAsksFor) {
  const std::vector<std::pair<std::uint64_t, int>> counts = {
      {32, 5},      {100'999, 5}, {101'000, 4}, {325'999, 4}, {326'000, 3},
      {550'999, 3}, {551'000, 2}, {775'999, 2}, {776'000, 1}, {60'000'000, 1}};
  for (const auto& [exposureUs, frames] : counts) {
    ASSERT_EQ(darkFrameCount(exposureUs), frames) << exposureUs;
    dark_.startRecording(frames);
    int sum = 0;
    for (int n = 0; n < frames; ++n) {
      EXPECT_FALSE(dark_.isRecordingOver());
      sum += 40 + 7 * n;
      dark_.addFrame(darkWithHot(3, static_cast<std::uint8_t>(40 + 7 * n)), kWidth, kHeight);
    }
    EXPECT_TRUE(dark_.isRecordingOver());
    EXPECT_EQ(dark_.plane()->data()[3], sum / frames);
  }
}

TEST_F(DarkFrameTest, SettersAndDeliveryAtTheSameTime) {
  const std::string path = store(darkWithHot(20, 60));
  std::atomic<bool> stop{false};
  std::thread delivery([&] {
    while (!stop) {
      Bytes frame(kPixels, 100);
      dark_.addFrame(frame, kWidth, kHeight);
      dark_.subtract(frame, kWhole);
      for (const int value : frame) ASSERT_TRUE(value == 100 || value == 50) << value;
    }
  });
  for (int round = 0; round < 200; ++round) {
    dark_.use(round % 3 != 0);
    dark_.follow(round % 2 == 0 ? kWhole : FrameRegion{4, 2, 8, 4, 1, 2});
    ASSERT_EQ(dark_.load(path), DarkFileResult::kDone);
    dark_.startRecording(5);
    dark_.stopRecording();
  }
  stop = true;
  delivery.join();
}

}  // namespace
}  // namespace orvik::test
