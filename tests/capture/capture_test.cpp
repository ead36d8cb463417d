// SPDX-License-Identifier: MIT
// Capture with a virtual T15C when frames are damaged, arrive late or do not arrive at all.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <future>
#include <ostream>

#include "capture/capture_bench.h"
#include "support/fault_script.h"
#include "support/limited_host.h"
#include "support/scripted_bench.h"
#include "support/time_of.h"

namespace orvik::test {
namespace {

using namespace std::chrono_literals;

/// A way to damage a frame.
struct Damage {
  const char* name;
  void (*apply)(std::vector<std::uint8_t>& frame);
};

void PrintTo(const Damage& damage, std::ostream* out) { *out << damage.name; }

constexpr std::uint8_t kPaint = 0xBD;

class DamagedFrameTest : public CaptureTest, public ::testing::WithParamInterface<Damage> {};

TEST_P(DamagedFrameTest, IsCountedAndNeverDelivered) {
  const auto frames = std::make_shared<std::atomic<int>>(0);
  open([frames](std::vector<std::uint8_t>& frame) {
    if ((*frames)++ < 3) {
      std::fill(frame.begin() + 400, frame.end() - 400, kPaint);
      GetParam().apply(frame);
    }
    return true;
  });
  ASSERT_TRUE(camera_->startCapture(false));
  for (int n = 0; n < 5; ++n) {
    ASSERT_TRUE(getImage());
    EXPECT_NE(image_[1000], kPaint);
  }
  EXPECT_GE(dropped(), 1);
  ASSERT_TRUE(camera_->stopCapture());
  EXPECT_EQ(dropped(), 0) << "the count belongs to the running capture";
}

INSTANTIATE_TEST_SUITE_P(
    , DamagedFrameTest,
    ::testing::Values(
        Damage{"StartMark", [](auto& frame) { frame[0] ^= 1; }},
        Damage{"Sequence", [](auto& frame) { frame[2] ^= 1; }},
        Damage{"EndMark", [](auto& frame) { frame.end()[-1] ^= 1; }},
        Damage{"TwoBytesShort",
               [](auto& frame) { frame.erase(frame.begin() + 500, frame.begin() + 502); }},
        Damage{"TwoBytesLong", [](auto& frame) { frame.insert(frame.begin() + 500, 2, 0); }},
        Damage{"HalfAFrame", [](auto& frame) { frame.resize(frame.size() / 2); }}),
    [](const auto& instance) { return instance.param.name; });

TEST_F(CaptureTest, ASlowReaderLosesFramesAndFindsTheOldestTwo) {
  open();
  ASSERT_TRUE(camera_->startCapture(false));
  ASSERT_TRUE(eventually([&] { return dropped() >= 10; }));
  EXPECT_TRUE(getImage(0ms));
  EXPECT_TRUE(getImage(0ms));
  const int before = dropped();
  ASSERT_TRUE(eventually([&] { return dropped() > before; })) << "two wait again";
  camera_->stopCapture();
  EXPECT_FALSE(getImage(0ms)) << "frames of a video that has ended are gone";
}

TEST_F(CaptureTest, FourBadReadsInARowStartTheCameraAnew) {
  const auto system = std::make_shared<BulkLimit>();
  const auto faults = std::make_shared<fault::FaultHost>(
      std::make_shared<LimitedHost>(bench_.sharedHost(), system));
  installHost(faults);
  const auto spoilt = std::make_shared<std::atomic<int>>(0);
  open([spoilt](auto& frame) {
    if (*spoilt > 0) frame[0] ^= 1;
    *spoilt -= *spoilt > 0 ? 1 : 0;
    return true;
  });
  camera_->setExposure(100'000, false);  // leaves enough time for a restart between two frames
  camera_->setBandwidth(100, false);
  std::vector<std::string> sent;
  const auto startsWith = [&](const char* script, unsigned bad) {
    faults->setScript(scriptOf(script));
    *spoilt = static_cast<int>(bad);
    system->clears = 0;
    conversation_.take();
    EXPECT_TRUE(camera_->startCapture(false));
    std::uint64_t next = 0;
    for (int n = 0; n < 6; ++n) {
      EXPECT_TRUE(getImage());
      const FrameFacts facts = camera_->lastImage().value().facts;
      EXPECT_TRUE(n > 0 || facts.lostBefore == bad) << "a frame that never was is not a lost one";
      EXPECT_EQ(facts.number, next + facts.lostBefore);
      next = facts.number + 1;
    }
    EXPECT_TRUE(camera_->stopCapture());
    sent = conversation_.take();
    return std::ranges::count(sent, "A9");
  };
  EXPECT_EQ(startsWith("bulk fail to 3", 0), 1);
  EXPECT_EQ(system->clears, 1 + 3 + 1) << "at the start, after each, and at the end";
  EXPECT_EQ(startsWith("bulk fail to 4", 0), 2);
  EXPECT_EQ(system->clears, 1 + 3 + 2 + 1) << "before what is left is drained, and behind it";
  using ::testing::ElementsAre;
  EXPECT_THAT(std::vector<std::string>(sent.begin() + 6, sent.begin() + 12),
              ElementsAre("F0=31", "S3000=01", "AA", "A9", "S3000=00", "F0=21"));
  EXPECT_EQ(startsWith("bulk fail every 2 to 12", 0), 1) << "never two in a row";
  EXPECT_EQ(startsWith("", 3), 1);
  EXPECT_EQ(startsWith("", 4), 2);
}

TEST_F(CaptureTest, SnapshotEndsByItselfAndTheNextMayFollowAtOnce) {
  open();
  for (int n = 0; n < 20; ++n) {
    ASSERT_TRUE(camera_->startCapture(true));
    EXPECT_TRUE(snapshotEnds());
    ASSERT_EQ(status(), Orvik_EXPSTATE_READY);
    ASSERT_TRUE(getImage(kNoTimeout));
    EXPECT_FALSE(getImage(kNoTimeout)) << "there is one image, and nothing to wait for";
  }
}

TEST_F(CaptureTest, SnapshotFailsAfterASecondOfBadExposures) {
  open([](auto& frame) {
    frame[0] = 0;
    return true;
  });
  camera_->setBandwidth(100, false);  // otherwise bad frames would lower the bandwidth first
  camera_->setExposure(400'000, false);
  ASSERT_TRUE(camera_->startCapture(true));
  ASSERT_TRUE(snapshotEnds());
  EXPECT_EQ(status(), Orvik_EXPSTATE_FAILED);
  EXPECT_FALSE(getImage(kNoTimeout));
}

TEST_F(CaptureTest, LongExposureIsTimedByTheHost) {
  open();
  camera_->setExposure(1'000'000, false);
  conversation_.take();
  ASSERT_TRUE(camera_->startCapture(true));
  const auto taken = timeOf([&] { EXPECT_TRUE(snapshotEnds()); });
  EXPECT_EQ(status(), Orvik_EXPSTATE_READY);
  EXPECT_GE(taken, 950ms);
  EXPECT_TRUE(getImage(0ms));
  using ::testing::ElementsAre;
  const auto sent = conversation_.take();
  EXPECT_THAT(
      std::vector<std::string>(sent.begin(), sent.begin() + 8),
      ElementsAre("AA", "F0=F1", "S3000=01", "A9", "S3000=00", "F0=E1", "F11=01", "F11=00"));
}

TEST_F(CaptureTest, ANewExposureTimeEndsALongExposureEarly) {
  open();
  camera_->setExposure(600'000'000, false);
  ASSERT_TRUE(camera_->startCapture(true));
  std::this_thread::sleep_for(50ms);
  camera_->setExposure(500'000'000, false);
  EXPECT_TRUE(snapshotEnds());
  EXPECT_EQ(status(), Orvik_EXPSTATE_READY);
}

TEST_F(CaptureTest, VideoFollowsTheExposureAcrossOneSecond) {
  open();
  ASSERT_TRUE(camera_->startCapture(false));
  ASSERT_TRUE(getImage());
  camera_->setExposure(1'000'000, false);
  while (getImage(0ms)) {
  }
  EXPECT_TRUE(getImage(20s));
  camera_->setExposure(1000, false);
  EXPECT_TRUE(eventually([&] { return timeOf([&] { EXPECT_TRUE(getImage(20s)); }) < 100ms; }));
}

TEST_F(CaptureTest, StopsAtAnyMoment) {
  open();
  for (int n = 0; n < 60; ++n) {
    const bool snapshot = n % 3 == 1;
    camera_->setExposure(n % 3 == 2 ? 5'000'000 : 1000, false);
    ASSERT_TRUE(camera_->startCapture(snapshot));
    std::this_thread::sleep_for(std::chrono::microseconds(n * n * 20));
    const auto taken = timeOf([&] { ASSERT_TRUE(camera_->stopCapture()); });
    EXPECT_LT(taken, 2s) << "round " << n;
    EXPECT_FALSE(camera_->capture().isRunning());
  }
  camera_->setExposure(1000, false);
  ASSERT_TRUE(camera_->startCapture(false));
  EXPECT_TRUE(getImage());
}

TEST_F(CaptureTest, StoppingWakesAWaitWithoutLimit) {
  open([](auto&) { return false; });
  camera_->setExposure(900'000, false);
  ASSERT_TRUE(camera_->startCapture(false));
  auto waiting = std::async(std::launch::async, [&] { return getImage(kNoTimeout); });
  std::this_thread::sleep_for(20ms);
  EXPECT_EQ(waiting.wait_for(0ms), std::future_status::timeout);
  EXPECT_LT(timeOf([&] { camera_->stopCapture(); }), 1500ms) << "less than a read may last";
  ASSERT_EQ(waiting.wait_for(5s), std::future_status::ready);
  EXPECT_FALSE(waiting.get());
}

TEST_F(CaptureTest, UnplugEndsVideoAndSnapshot) {
  for (const bool snapshot : {false, true}) {
    for (const std::uint64_t exposureUs : {1000ULL, 600'000'000ULL}) {
      open();
      camera_->setExposure(exposureUs, false);
      ASSERT_TRUE(camera_->startCapture(snapshot));
      auto waiting = std::async(std::launch::async, [&] {
        while (getImage(kNoTimeout)) {
        }
        return camera_->isUnplugged();
      });
      std::this_thread::sleep_for(100ms);
      bench_.host().unplug(id_);
      ASSERT_EQ(waiting.wait_for(5s), std::future_status::ready);
      const bool wasOver = snapshot && exposureUs == 1000;
      EXPECT_TRUE(waiting.get() || wasOver) << "who is woken finds it told";
      if (snapshot && exposureUs > 1000) {
        // The status changes last, so a caller that sees it may start a new capture immediately.
        EXPECT_TRUE(eventually([&] { return status() == Orvik_EXPSTATE_FAILED; }, 1s));
      }
      EXPECT_FALSE(camera_->setExposure(2000, false));
      EXPECT_LT(timeOf([&] { camera_->close(); }), 2s);
      camera_.reset();
    }
  }
}

TEST(BulkStreamTest, AReadThatEndedUnseenMayHaveEndedBefore) {
  ScriptedBench bench;
  ScriptedCamera camera(identity::PID_T01C);
  bench.plug(camera);
  CUsbDevice device(identity::classGuid(0), true, bench.host);
  constexpr std::size_t kBytes = 1024;
  const auto frames = std::make_shared<FramePair>(
      FramePair{std::make_shared<PageBuffer>(kBytes), std::make_shared<PageBuffer>(kBytes)});
  BulkStream stream(device, *bench.clock, frames, kBytes, kBytes);
  for (const auto late : {0ms, 100ms}) {
    camera.device->bulk = [late](auto) {
      return testing::Answer{.data = std::vector<std::uint8_t>(kBytes), .delay = late};
    };
    stream.restart();
    bench.clock->sleepFor(50ms);
    ASSERT_EQ(stream.readFrame(20s), BulkStream::Result::kComplete);
    EXPECT_EQ(stream.arrival().uncertainty, late == 0ms ? 50ms : 0ms);
  }
}

TEST_F(CaptureTest, OneReadAtATimeIsEnough) {
  const auto system = std::make_shared<BulkLimit>();
  installHost(std::make_shared<LimitedHost>(bench_.sharedHost(), system));
  open();
  setRegion(1304, 976, IMAGE_RAW16);  // three reads per frame
  camera_->setExposure(kPatientExposureUs, false);
  for (const int limit : {1, 2, 3}) {
    system->most = limit;
    system->refusals = 0;
    system->highest = 0;
    ASSERT_TRUE(camera_->startCapture(false));
    for (int n = 0; n < 5; ++n) ASSERT_TRUE(getImage());
    EXPECT_EQ(dropped(), 0);
    ASSERT_TRUE(camera_->stopCapture());
    EXPECT_EQ(system->highest, limit);
    EXPECT_EQ(system->refusals > 0, limit < 3) << "the reads of a frame are enough";
  }
}

TEST_F(CaptureTest, MemoryThatTheSystemLendsIsUsedAndGivenBack) {
  const auto system = std::make_shared<BulkLimit>();
  system->lendsMemory = true;
  installHost(std::make_shared<LimitedHost>(bench_.sharedHost(), system));
  open();
  setRegion(1304, 976, IMAGE_8BIT);  // two reads per frame
  camera_->setExposure(kPatientExposureUs, false);
  ASSERT_TRUE(camera_->startCapture(false));
  for (int n = 0; n < 8; ++n) {
    std::ranges::fill(image_, 0);
    ASSERT_TRUE(getImage());
    EXPECT_EQ(std::ranges::count(image_, 0), 0) << "every part has come";
  }
  EXPECT_EQ(system->lent, 2) << "as many pieces as reads in flight, used again";
}

TEST_F(CaptureTest, AStalledPipeIsClearedAndUsedAgain) {
  const auto faults = std::make_shared<fault::FaultHost>(bench_.sharedHost());
  installHost(faults);
  open();
  ASSERT_TRUE(camera_->startCapture(false));
  ASSERT_TRUE(getImage());
  faults->setScript(scriptOf("bulk stall"));
  ASSERT_TRUE(eventually([&] { return faults->struck(fault::Action::kStall) > 3; }));
  faults->setScript({});
  while (getImage(0ms)) {
  }
  EXPECT_TRUE(getImage());
}

TEST_F(CaptureTest, ALinkThatLosesFramesIsAskedForLess) {
  open([](auto& frame) {
    frame[0] = 0;
    return true;
  });
  const CameraState& state = camera_->state();
  ASSERT_EQ(state.bandwidth, 100);
  ASSERT_TRUE(state.bandwidthAuto);
  ASSERT_TRUE(camera_->startCapture(false));
  EXPECT_TRUE(eventually([&] { return state.bandwidth == 96; }));
  EXPECT_TRUE(state.bandwidthAuto);
  EXPECT_TRUE(eventually([&] { return state.bandwidth == 40; }))
      << "and never for less than 40 percent";
  camera_->stopCapture();
}

TEST_F(CaptureTest, ChangingTheRegionRestartsCapture) {
  open();
  ASSERT_TRUE(camera_->startCapture(false));
  ASSERT_TRUE(getImage());
  EXPECT_LT(timeOf([&] { EXPECT_FALSE(camera_->reconnect()); }), 2s) << "not during capture";
  setRegion(640, 480, IMAGE_RAW16);
  EXPECT_TRUE(camera_->capture().isRunning());
  EXPECT_TRUE(getImage());
  ASSERT_TRUE(camera_->setResolution(320, 240, 2, IMAGE_8BIT));
  camera_->setStartPosition(100, 50);
  ASSERT_TRUE(camera_->setHardwareBin(false));
  EXPECT_EQ(camera_->state().startX, 100);
  EXPECT_EQ(camera_->state().startY, 50);
  image_.resize(320 * 240);
  EXPECT_TRUE(getImage());
  camera_->stopCapture();
  camera_->setExposure(300'000, false);
  ASSERT_TRUE(camera_->startCapture(true));
  setRegion(320, 240, IMAGE_8BIT);
  EXPECT_TRUE(snapshotEnds());
  EXPECT_EQ(status(), Orvik_EXPSTATE_READY) << "it is a snapshot still";
}

TEST_F(CaptureTest, ADeviceThatIsHeldElsewhereDoesNotOpen) {
  const auto faults =
      std::make_shared<fault::FaultHost>(bench_.sharedHost(), scriptOf("claim refuse"));
  installHost(faults);
  bench_.plug();
  T15C camera;
  EXPECT_FALSE(camera.open(1));
  EXPECT_FALSE(camera.initialise());
  faults->setScript({});
  EXPECT_TRUE(camera.open(1));
}

}  // namespace
}  // namespace orvik::test
