// SPDX-License-Identifier: MIT
// Every frame belongs to one capture. It keeps its own format and facts, even if settings change
// before it is delivered.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <numeric>
#include <thread>

#include "capture/capture_bench.h"
#include "support/time_of.h"

namespace orvik::test {
namespace {

using namespace std::chrono_literals;

class FrameOwnership : public CaptureTest {
 protected:
  void takeSnapshot() {
    ASSERT_TRUE(camera_->startCapture(true));
    ASSERT_TRUE(snapshotEnds());
    ASSERT_EQ(status(), Orvik_EXPSTATE_READY);
  }

  /// @param size size of the caller's buffer in bytes
  bool getInto(std::size_t size, FrameQueue::Timeout timeout = 5s) {
    image_.assign(size, 0xBD);
    return getImage(timeout);
  }

  DeliveredImage last() { return camera_->lastImage().value(); }

  /// The mean of the image. Its marked corners have been replaced by values of their neighbours.
  double mean() {
    return std::accumulate(image_.begin(), image_.end(), 0.0) / static_cast<double>(image_.size());
  }
};

TEST_F(FrameOwnership, AnImageThatNobodyFetchedDoesNotBecomeAnotherCaptures) {
  open();
  for (const bool snapshot : {false, true}) {
    takeSnapshot();
    const std::uint64_t former = camera_->capture().current()->number();
    ASSERT_TRUE(camera_->startCapture(snapshot));
    ASSERT_TRUE(getImage());
    EXPECT_EQ(last().facts.capture, former + 1);
    EXPECT_EQ(last().facts.snapshot, snapshot);
    camera_->stopCapture();
  }
  takeSnapshot();
  camera_->forgetCapture();
  EXPECT_EQ(status(), Orvik_EXPSTATE_NONE);
  EXPECT_FALSE(getImage(0ms));
}

TEST_F(FrameOwnership, ASnapshotKeepsItsFormat) {
  open();
  takeSnapshot();
  ASSERT_TRUE(camera_->setResolution(64, 32, 1, IMAGE_8BIT));
  EXPECT_EQ(status(), Orvik_EXPSTATE_READY);
  EXPECT_FALSE(getInto(64 * 32)) << "the image is larger, and stays";
  EXPECT_EQ(std::ranges::count(image_, 0xBD), 64 * 32);
  EXPECT_TRUE(getInto(320 * 240 + 5));
  EXPECT_EQ(last().format.width, 320);
  EXPECT_EQ(last().format.height, 240);
  EXPECT_EQ(std::ranges::count(std::span(image_).last(5), 0xBD), 5);
}

TEST_F(FrameOwnership, WithoutAFormatThatWasSetTheToldOneHolds) {
  bench_.plug();
  camera_ = std::make_unique<T15C>();
  ASSERT_TRUE(camera_->open(1));
  ASSERT_TRUE(camera_->initialise());
  const FrameFormat told = camera_->format();
  EXPECT_EQ(told.imageBytes(), 1304U * 976U);
  camera_->setExposure(kPatientExposureUs, false);
  ASSERT_TRUE(camera_->startCapture(false));
  EXPECT_FALSE(getInto(told.imageBytes() - 1));
  EXPECT_TRUE(getInto(told.imageBytes()));
  EXPECT_EQ(last().format, told);
}

TEST_F(FrameOwnership, FactsTellOneCaptureFromBeginToEnd) {
  open();
  camera_->setGain(150, false);
  camera_->setStartPosition(100, 50);
  camera_->setFlip(true, false);
  camera_->setExposure(30'000, false);
  camera_->setBrightness(33);
  const auto before = camera_->clock().now();
  ASSERT_TRUE(camera_->startCapture(false));
  FrameFacts former;
  for (int n = 0; n < 5; ++n) {
    ASSERT_TRUE(getImage());
    const auto [format, facts, flipH, flipV] = last();
    EXPECT_GT(facts.exposureStart, before);
    EXPECT_EQ(facts.exposureEnd - facts.exposureStart, 30ms);
    EXPECT_EQ(facts.exposureEnd, facts.firstByte);
    EXPECT_GT(facts.lastByte, facts.firstByte);
    EXPECT_LE(facts.lastByte, camera_->clock().now());
    EXPECT_LT(
        std::chrono::system_clock::now().time_since_epoch() - (facts.lastByte + facts.utcOffset),
        5s);
    EXPECT_EQ(facts.settings.exposureUs, 30'000U);
    EXPECT_EQ(facts.settings.gain, 150);
    EXPECT_EQ(facts.settings.brightness, 33);
    EXPECT_EQ(facts.settings.startX, 100);
    EXPECT_EQ(facts.settings.startY, 50);
    EXPECT_TRUE(facts.isSettled);
    EXPECT_TRUE(flipH);
    EXPECT_FALSE(flipV);
    if (n > 0) {
      EXPECT_EQ(facts.number, former.number + 1 + facts.lostBefore);
      EXPECT_GT(facts.lastByte, former.lastByte);
    }
    former = facts;
  }
}

// The brightness of the image is proportional to the exposure time, so each image shows which
// exposure time it was taken with.
TEST_F(FrameOwnership, AnImageIsAsBrightAsItsSettingsSay) {
  open();
  camera_->setExposure(40'000, false);
  camera_->setGain(100, false);
  ASSERT_TRUE(camera_->startCapture(false));
  int settled = 0;
  for (int n = 0; n < 40; ++n) {
    if (n % 4 == 0) camera_->setExposure(n % 8 == 0 ? 40'000 : 20'000, false);
    ASSERT_TRUE(getImage());
    const FrameFacts facts = last().facts;
    if (!facts.isSettled) continue;
    ++settled;
    EXPECT_NEAR(mean(), facts.settings.exposureUs == 40'000 ? 160 : 80, 8) << facts.number;
  }
  EXPECT_GE(settled, 8);
}

// The host times exposures of one second or more. Each frame must arrive after its own exposure.
TEST_F(FrameOwnership, ExposuresAcrossOneSecondKeepTheirFrames) {
  struct Made {
    std::atomic<std::int64_t> count{0};
  };
  const auto made = std::make_shared<Made>();
  open([made](std::vector<std::uint8_t>& frame) {
    const std::int64_t now = std::chrono::steady_clock::now().time_since_epoch().count();
    std::memcpy(frame.data() + 400, &now, sizeof now);
    ++made->count;
    return true;
  });
  ASSERT_TRUE(camera_->startCapture(false));
  for (const std::uint64_t exposureUs : {1'100'000U, 300'000U, 1'000'000U}) {
    camera_->setExposure(exposureUs, false);
    int settled = 0;
    while (settled < 2) {
      ASSERT_TRUE(getImage(20s));
      const FrameFacts facts = last().facts;
      std::int64_t madeAt = 0;
      std::memcpy(&madeAt, image_.data() + 400, sizeof madeAt);
      EXPECT_LE(facts.exposureEnd - 20ms, std::chrono::nanoseconds(madeAt))
          << "a frame from before this exposure";
      EXPECT_GE(facts.lastByte, std::chrono::nanoseconds(madeAt));
      if (facts.isSettled && facts.settings.exposureUs == exposureUs) ++settled;
    }
  }
}

// The reader's buffer has exactly the size of the largest image.
TEST_F(FrameOwnership, FormatsChangeWhileAnotherThreadReads) {
  open(nullptr, sim::Pace::kFree);
  ASSERT_TRUE(camera_->startCapture(false));
  std::atomic<bool> stop{false};
  std::atomic<int> images{0};
  std::thread reader([&] {
    constexpr std::size_t kMost = std::size_t{640} * 480 * 3;
    while (!stop) {
      std::vector<unsigned char> buffer(kMost, 0xBD);
      if (!takeImage(*camera_, buffer, std::chrono::milliseconds(200))) continue;
      const DeliveredImage image = last();
      const std::size_t size = image.format.imageBytes();
      ASSERT_LE(size, kMost);
      EXPECT_EQ(std::ranges::count(std::span(buffer).subspan(size), 0xBD),
                static_cast<std::ptrdiff_t>(kMost - size));
      EXPECT_LT(std::ranges::count(std::span(buffer).first(size), 0xBD),
                static_cast<std::ptrdiff_t>(size / 4));
      ++images;
    }
  });
  std::thread asker([&] {
    while (!stop) {
      const FrameFormat told = camera_->format();
      EXPECT_EQ(told.width * 3, told.height * 4) << "half of a change";
    }
  });
  constexpr IMAGE_TYPE kTypes[] = {IMAGE_8BIT, IMAGE_RGB24, IMAGE_RAW16};
  for (int n = 0; n < 60; ++n) {
    const int bin = 1 + n % 2;
    const int width = n % 3 == 0 ? 640 : 320;
    ASSERT_TRUE(camera_->setFormat(width, width * 3 / 4, bin, kTypes[n % 3], n % 4 == 0, {}));
    if (n % 5 == 0) camera_->setHardwareBin(n % 10 == 0);
    if (n % 7 == 0) camera_->setHighSpeedMode(n % 14 == 0);
    camera_->setStartPosition(n, n);
    const int before = images;
    if (n % 10 == 9) {
      EXPECT_TRUE(eventually([&] { return images > before; }));
    }
  }
  stop = true;
  reader.join();
  asker.join();
}

TEST_F(FrameOwnership, WaitingForAnotherReaderIsPartOfTheWait) {
  open([](auto&) { return false; });
  ASSERT_TRUE(camera_->startCapture(false));
  std::thread first([&] {
    std::vector<unsigned char> image(image_.size());
    EXPECT_FALSE(takeImage(*camera_, image, std::chrono::seconds(2)));
  });
  std::this_thread::sleep_for(50ms);
  EXPECT_LT(timeOf([&] { EXPECT_FALSE(getImage(2500ms)); }), 4200ms) << "not one after the other";
  first.join();
}

TEST_F(FrameOwnership, AWaitLastsAcrossAChangeOfTheFormat) {
  open();
  camera_->setExposure(200'000, false);
  ASSERT_TRUE(camera_->startCapture(false));
  std::vector<unsigned char> buffer(640 * 480);
  bool came = false;
  std::thread waiting([&] { came = takeImage(*camera_, buffer, kNoTimeout); });
  std::this_thread::sleep_for(50ms);
  ASSERT_TRUE(camera_->setResolution(640, 480, 1, IMAGE_8BIT));
  waiting.join();
  EXPECT_TRUE(came);
  EXPECT_EQ(last().format.width, 640);
}

}  // namespace
}  // namespace orvik::test
