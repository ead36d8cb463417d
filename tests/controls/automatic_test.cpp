// SPDX-License-Identifier: MIT
// These tests check when automatic control is active and how it interacts with user settings.
#include <gtest/gtest.h>

#include <thread>

#include "controls/automatic_bench.h"
#include "models/models.h"
#include "support/process.h"

namespace orvik::test {
namespace {

using namespace std::chrono_literals;

sim::CameraOptions dim(double light) {
  sim::CameraOptions options;
  options.light = light;
  return options;
}

TEST(Automatic, TheFirstRoundComesAfter200MillisecondsAndTheNextAfter100) {
  AutomaticBench bench("T15C");
  bench.camera().setExposure(100, true);
  bench.start();
  ASSERT_TRUE(bench.pass(199ms));
  EXPECT_EQ(bench.now().exposureUs, 100U);
  ASSERT_TRUE(bench.pass(1ms));
  const auto first = bench.now().exposureUs.load();
  EXPECT_GT(first, 100U);
  ASSERT_TRUE(bench.pass(99ms));
  EXPECT_EQ(bench.now().exposureUs, first);
  ASSERT_TRUE(bench.pass(1ms));
  EXPECT_GT(bench.now().exposureUs, first);
}

TEST(Automatic, WhiteBalanceTakesEveryFourthRound) {
  AutomaticBench bench("T15C");
  bench.camera().setExposure(5000, false);
  bench.camera().setWhiteBalance(20, 20, true);
  bench.start();
  ASSERT_TRUE(bench.pass(200ms));
  ASSERT_TRUE(bench.pass(299ms));
  EXPECT_EQ(bench.now().whiteBalanceRed, 20);
  ASSERT_TRUE(bench.pass(1ms));
  EXPECT_GT(bench.now().whiteBalanceRed, 20);
  bench.camera().setWhiteBalance(20, 20, true);
  ASSERT_TRUE(bench.pass(399ms));
  EXPECT_EQ(bench.now().whiteBalanceRed, 20);
}

TEST(Automatic, SixteenBitFramesKeepTheirColours) {
  AutomaticBench bench("T15C");
  bench.setFormat(320, 240, 1, IMAGE_RAW16);
  bench.camera().setExposure(5000, false);
  bench.camera().setWhiteBalance(20, 20, true);
  bench.start();
  EXPECT_EQ(bench.roundsToRest(), 0);
}

TEST(Automatic, ASnapshotIsTakenAsItWasAskedFor) {
  sim::CameraOptions options;
  // Every frame is bad, so the snapshot lasts for thousands of frames.
  options.frameFilter = [](auto& frame) {
    frame[0] = 0;
    return true;
  };
  AutomaticBench bench("T15C", options);
  bench.camera().setExposure(100, true);
  ASSERT_TRUE(bench.camera().startCapture(true));
  ASSERT_TRUE(bench.wakeSensor());
  EXPECT_TRUE(bench.passIdle(1s)) << "no thread lives by the clock";
  EXPECT_EQ(bench.now().exposureUs, 100U);
}

TEST(Automatic, NoThreadOutlivesItsVideo) {
  AutomaticBench bench("T15C");
  bench.camera().setExposure(100, true);
  for (int n = 0; n < 3; ++n) {
    bench.start();
    ASSERT_TRUE(bench.pass(300ms));
    ASSERT_TRUE(bench.camera().stopCapture());
    EXPECT_TRUE(bench.passIdle(1s));
  }
}

TEST(Automatic, AThreadThatWaitsForAFrameEndsWithItsVideo) {
  sim::CameraOptions options;
  options.frameFilter = [](auto&) { return false; };
  AutomaticBench bench("T15C", options);
  bench.camera().setExposure(100, true);
  const auto before = processCounts().threads;
  bench.start();
  bench.tick(200ms);
  std::this_thread::sleep_for(20ms);
  ASSERT_TRUE(bench.camera().stopCapture());
  EXPECT_TRUE(eventually([&] { return processCounts().threads <= before; }, 10s));
}

TEST(Automatic, FromATenthOfASecondOnFramesSetThePace) {
  AutomaticBench bench("T15C", dim(0.02));
  bench.camera().setExposure(150'000, true);
  bench.camera().setGain(0, false);
  ASSERT_TRUE(bench.camera().startCapture(false));
  ASSERT_TRUE(bench.wakeSensor());
  // The thread of automatic control is still asleep. The worker evaluates its own frames.
  bench.tick(300ms);
  EXPECT_TRUE(eventually([&] { return bench.now().exposureUs > 150'000; }));
  const std::uint64_t first = bench.now().exposureUs;
  bench.takeFrames();
  EXPECT_EQ(bench.now().exposureUs, first) << "frames that were on their way say nothing about it";
  EXPECT_TRUE(eventually([&] {
    bench.tick(50ms);
    return bench.now().exposureUs > 1'000'000;
  }));
}

TEST(Automatic, SoDoShortExposuresOfSlowFrames) {
  sim::CameraOptions options;
  options.usb3Port = false;
  AutomaticBench bench("T15C", options);
  bench.setFormat(1304, 976, 1, IMAGE_RAW16);
  bench.camera().setBandwidth(40, false);
  bench.camera().setExposure(1000, true);
  bench.start();
  EXPECT_TRUE(eventually([&] {
    bench.tick(50ms);
    return bench.now().exposureUs > 5000;
  }));
}

/// A camera with slow automatic control.
class UnhurriedCamera final : public MarkedFrameCamera<Camera> {
 public:
  UnhurriedCamera() : MarkedFrameCamera(row(), T15C::kFacts) {}

 private:
  static const ModelRow& row() {
    static const ModelRow slow = [] {
      ModelRow copy = T15C::kRow;
      copy.slowAutoControl = true;
      return copy;
    }();
    return slow;
  }
};

TEST(Automatic, AModelCanTakeItsTime) {
  AutomaticBench bench("T15C", dim(0.4),
                       [] { return std::unique_ptr<Camera>(new UnhurriedCamera); });
  bench.camera().setExposure(110'000, true);
  bench.camera().setGain(0, false);
  bench.camera().setWhiteBalance(20, 20, true);
  bench.start();
  EXPECT_EQ(bench.now().exposureUs, 110'000U);
  ASSERT_TRUE(bench.pass(200ms));
  const auto first = bench.now().exposureUs.load();
  EXPECT_GT(first, 110'000U) << "still the thread's";
  EXPECT_GT(bench.now().whiteBalanceRed, 20) << "every round has its balance";
  ASSERT_TRUE(bench.pass(199ms));
  EXPECT_EQ(bench.now().exposureUs, first);
  bench.takeFrames();
  ASSERT_TRUE(bench.pass(1ms));
  EXPECT_GT(bench.now().exposureUs, first);
}

TEST(Automatic, TheThreadHandsOverToTheWorker) {
  AutomaticBench bench("T15C", dim(0.05));
  bench.camera().setExposure(1000, true);
  bench.camera().setGain(100, false);
  bench.start();
  ASSERT_TRUE(bench.pass(200ms));
  EXPECT_TRUE(eventually([&] {
    const bool fast = bench.now().exposureUs < 100'000;
    return !fast || !bench.pass(100ms);
  }));
  EXPECT_TRUE(eventually([&] {
    bench.tick(50ms);
    return bench.now().exposureUs > 300'000;
  }));
  EXPECT_TRUE(bench.camera().stopCapture());
}

TEST(Automatic, ExposureStopsAtItsLimit) {
  AutomaticBench bench("T15C", dim(0.001));
  bench.camera().state().autoMaxGain = 100;
  bench.camera().state().autoMaxExposure = 0;
  bench.camera().state().autoTargetBrightness = 100;
  bench.camera().setExposure(20'000, true);
  bench.camera().setGain(0, true);
  bench.start();
  EXPECT_GE(bench.roundsToRest(), 0);
  EXPECT_EQ(bench.now().exposureUs, 32U) << "a limit of 0 seconds is the shortest there is";
  EXPECT_EQ(bench.now().gain, 100);
}

/// @return a frame with the same value in every byte, in the camera's current format
std::vector<std::uint8_t> evenFrame(Camera& camera, std::uint8_t value) {
  return std::vector<std::uint8_t>(camera.state().frameFormat().frameBytes(), value);
}

/// Measures a frame that was taken with the current settings.
FrameMeasurement measure(Camera& camera, std::span<const std::uint8_t> frame, Wanted wanted) {
  return camera.regulator().measure(frame, camera.state().frameFormat(),
                                    camera.state().frameSettings(), wanted);
}

TEST(AutomaticDecision, WhatWasChangedSinceTheFrameStays) {
  AutomaticBench bench("T15C");
  Camera& camera = bench.camera();
  const auto black = evenFrame(camera, 0);
  const auto measureNow = [&] {
    camera.setExposure(10'000, true);
    camera.setGain(200, true);
    return measure(camera, black, {.brightness = true, .colour = false});
  };
  camera.regulator().follow(measureNow());
  EXPECT_EQ(bench.now().exposureUs, 14'950U);
  EXPECT_EQ(bench.now().gain, 212);

  FrameMeasurement measured = measureNow();
  camera.setExposure(10'000, false);
  camera.setGain(200, false);
  camera.regulator().follow(measured);
  EXPECT_EQ(bench.now().exposureUs, 10'000U) << "automatic was switched off";

  measured = measureNow();
  camera.setExposure(50'000, true);
  camera.regulator().follow(measured);
  EXPECT_EQ(bench.now().exposureUs, 50'000U) << "the frame was taken with another exposure";
  measured = measureNow();
  camera.setGain(20, true);
  camera.regulator().follow(measured);
  EXPECT_EQ(bench.now().gain, 20) << "and with another gain";
}

TEST(AutomaticDecision, AtALimitNothingIsSent) {
  Conversation conversation;
  sim::CameraOptions options;
  options.controlObserver = observerOf(conversation);
  AutomaticBench bench("T15C", options);
  Camera& camera = bench.camera();
  const auto step = [&](std::uint8_t brightness) {
    conversation.take();
    camera.regulator().follow(
        measure(camera, evenFrame(camera, brightness), {.brightness = true, .colour = false}));
    return conversation.take().size();
  };
  camera.state().autoMaxGain = 300;
  camera.state().autoMaxExposure = 1;
  camera.state().autoTargetBrightness = 100;
  for (const bool exposure : {false, true}) {
    camera.setExposure(1'000'000, exposure);
    camera.setGain(299, true);
    EXPECT_GT(step(0), 0U);
    EXPECT_EQ(step(0), 0U) << "as bright as it goes";
    camera.setExposure(32, exposure);
    camera.setGain(exposure ? 2 : 1, true);
    EXPECT_GT(step(255), 0U);
    EXPECT_EQ(step(255), 0U) << "as dark as it goes";
  }

  camera.setWhiteBalance(99, 99, true);
  std::vector<std::uint8_t> green = evenFrame(camera, 10);
  for (std::size_t y = 0; y < 240; ++y) {
    for (std::size_t x = (y + 1) % 2; x < 320; x += 2) green[y * 320 + x] = 200;
  }
  conversation.take();
  camera.regulator().follow(measure(camera, green, {.brightness = false, .colour = true}));
  EXPECT_EQ(conversation.take().size(), 0U) << "there is no more of red and blue";
  EXPECT_EQ(bench.now().whiteBalanceRed, 99);
}

TEST(AutomaticDecision, AColourMeasuredWithAnotherBalanceIsForgotten) {
  AutomaticBench bench("T15C");
  Camera& camera = bench.camera();
  std::vector<std::uint8_t> redless = evenFrame(camera, 100);
  for (int y = 0; y < 240; y += 2) {
    for (int x = 0; x < 320; x += 2) redless[static_cast<std::size_t>(y * 320 + x)] = 49;
  }
  const auto measureNow = [&] {
    camera.setWhiteBalance(40, 95, true);
    return measure(camera, redless, {.brightness = false, .colour = true});
  };
  camera.regulator().follow(measureNow());
  EXPECT_NEAR(bench.now().whiteBalanceRed, 80, 2);
  const FrameMeasurement measured = measureNow();
  camera.setWhiteBalance(40, 95, false);
  camera.regulator().follow(measured);
  EXPECT_EQ(bench.now().whiteBalanceRed, 40);
  camera.setWhiteBalance(41, 95, true);
  camera.regulator().follow(measured);
  EXPECT_EQ(bench.now().whiteBalanceRed, 41);
}

/// A clock that runs 100 times faster, so that there is a round every millisecond.
class HurriedClock final : public seam::Clock {
 public:
  [[nodiscard]] Duration now() const override { return kFactor * steady_.now(); }
  bool waitUntil(std::unique_lock<std::mutex>& lock, std::condition_variable& condition,
                 Duration deadline, const std::function<bool()>& ready) override {
    return steady_.waitUntil(lock, condition, deadline / kFactor, ready);
  }
  void sleepFor(Duration duration) override { steady_.sleepFor(duration / kFactor); }

 private:
  static constexpr int kFactor = 100;
  seam::SteadyClock steady_;
};

TEST(AutomaticThreads, TheUserHasTheLastWord) {
  VirtualBench bench(std::make_shared<HurriedClock>());
  sim::CameraOptions options;
  options.sceneKind = sim::SceneKind::kGrey;
  options.pace = sim::Pace::kFree;
  bench.plug(options);
  const auto camera = createCamera(identity::PID_T15C);
  ASSERT_TRUE(camera->open(1) && camera->initialise());
  ASSERT_TRUE(camera->setResolution(160, 120, 1, IMAGE_8BIT));
  ASSERT_TRUE(camera->startCapture(false));

  int moved = 0;
  for (int n = 0; n < 60; ++n) {
    const auto exposureUs = static_cast<std::uint64_t>(100 + n);
    camera->setGain(0, n % 2 == 0);
    camera->setWhiteBalance(10, 10, true);
    camera->setExposure(exposureUs, true);
    const bool follows = eventually([&] { return camera->state().exposureUs != exposureUs; }, 2s);
    moved += follows ? 1 : 0;
    if (n % 3 == 0) {
      const int size = n % 2 == 0 ? 80 : 160;
      ASSERT_TRUE(camera->setResolution(size, size, 1, n % 4 == 0 ? IMAGE_RAW16 : IMAGE_8BIT));
    }
    if (n % 10 == 9) {
      const auto start = std::chrono::steady_clock::now();
      ASSERT_TRUE(camera->stopCapture());
      EXPECT_LT(std::chrono::steady_clock::now() - start, 5s);
      ASSERT_TRUE(camera->startCapture(false));
    }
    camera->setExposure(exposureUs, false);
    camera->setGain(33, false);
    camera->setWhiteBalance(11, 12, false);
    std::this_thread::sleep_for(3ms);  // three rounds of automatic control
    ASSERT_EQ(camera->state().exposureUs, exposureUs);
    ASSERT_EQ(camera->state().gain, 33);
    ASSERT_EQ(camera->state().whiteBalanceRed, 11);
    ASSERT_FALSE(camera->state().exposureAuto || camera->state().gainAuto);
  }
  EXPECT_GT(moved, 50) << "or nothing was tried out";
}

TEST(AutomaticThreads, AnUnpluggedCameraEndsThem) {
  AutomaticBench bench("T15C");
  bench.camera().setExposure(100, true);
  bench.start();
  ASSERT_TRUE(bench.pass(300ms));
  bench.unplug();
  EXPECT_TRUE(eventually([&] { return !bench.camera().capture().isRunning(); }));
  EXPECT_TRUE(bench.passIdle(1s));
}

}  // namespace
}  // namespace orvik::test
