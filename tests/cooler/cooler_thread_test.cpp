// SPDX-License-Identifier: MIT
// The thread that regulates the temperature must end, no matter what the camera does.
#include <gtest/gtest.h>

#include <chrono>

#include "cooler/cooled_bench.h"
#include "support/fault_script.h"
#include "support/process.h"
#include "support/time_of.h"
#include "usb/current_host.h"

namespace orvik::test {
namespace {

using namespace std::chrono_literals;

/// @return whether the number of threads soon returns to `before`
bool noThreadLeft(std::ptrdiff_t before) {
  return eventually([&] { return processCounts().threads == before; });
}

TEST(CoolerThread, EndsWithTheCameraObject) {
  CooledBench bench;
  bench.plug();
  const std::ptrdiff_t threads = processCounts().threads;
  {
    T13C_C camera;
    ASSERT_TRUE(camera.open(1) && camera.initialise());
    camera.cooler().setRegulation(true, -10);
    ASSERT_TRUE(bench.clock->run(20s));
    EXPECT_LT(timeOf([&] { camera.stopThread(); }), 400ms) << "it is woken";
    camera.stopThread();
    camera.startThread();
    camera.startThread();
    EXPECT_TRUE(camera.isThreadRunning());
    ASSERT_TRUE(bench.clock->run(20s)) << "one thread, not two";
  }
  EXPECT_TRUE(noThreadLeft(threads));
}

TEST(CoolerThread, SurvivesAnUnplugAndEndsAfterIt) {
  CooledBench bench;
  const int id = bench.plug();
  const std::ptrdiff_t threads = processCounts().threads;
  {
    T13C_C camera;
    ASSERT_TRUE(camera.open(1) && camera.initialise());
    camera.cooler().setRegulation(true, -10);
    ASSERT_TRUE(bench.clock->run(30s));
    const float last = camera.temperature();
    bench.bench.host().unplug(id);
    ASSERT_TRUE(bench.clock->run(30s));
    EXPECT_EQ(camera.temperature(), last) << "the last reading";
    EXPECT_TRUE(camera.isThreadRunning());
  }
  EXPECT_TRUE(noThreadLeft(threads));
}

/// A camera that stops answering. Its control transfers do not end even when they are cancelled.
class SilentCameraTest : public ::testing::Test {
 protected:
  SilentCameraTest() {
    installHost(faults_);
    bench_.plug();
    camera_ = std::make_unique<T13C_C>();
    EXPECT_TRUE(camera_->open(1) && camera_->initialise());
    camera_->cooler().setRegulation(true, -10);
    EXPECT_TRUE(bench_.clock->run(20s));
  }

  /// Makes the camera stop answering and returns when the thread waits for an answer.
  void fallSilent() {
    faults_->setScript(scriptOf("control deaf 60000"));
    ASSERT_TRUE(eventually([&] {
      const bool waits = faults_->struck(fault::Action::kDeaf) > 0;
      if (!waits) bench_.clock->sleepFor(100ms);
      return waits;
    }));
  }

  CooledBench bench_;
  std::shared_ptr<fault::FaultHost> faults_ =
      std::make_shared<fault::FaultHost>(bench_.bench.sharedHost());
  const std::ptrdiff_t threads_ = processCounts().threads;
  std::unique_ptr<T13C_C> camera_;
};

/// The longest duration of a request that gets no answer. Closing waits 500 ms for the thread, then
/// for the rest of the thread's request, and then for its own request to switch the power off.
constexpr auto kOneRequest = 1550ms;

TEST_F(SilentCameraTest, ClosingEndsByItsDeadline) {
  fallSilent();
  EXPECT_LT(timeOf([&] { camera_->close(); }), 2 * kOneRequest + 1000ms);
  EXPECT_FALSE(camera_->isThreadRunning());

  faults_->setScript({});
  ASSERT_TRUE(camera_->open(1) && camera_->initialise()) << "and it can be opened again";
  ASSERT_TRUE(bench_.clock->run(20s)) << "one thread, not two";
  camera_.reset();
  EXPECT_TRUE(noThreadLeft(threads_));
}

TEST_F(SilentCameraTest, AReopenedCameraHasAllItsTimeForAReading) {
  camera_->close();
  bench_.clock->sleepFor(60s);
  faults_->setScript(scriptOf("control C7 fail"));
  ASSERT_TRUE(camera_->open(1) && camera_->initialise());
  ASSERT_TRUE(bench_.clock->run(20s));
  EXPECT_EQ(camera_->state().coolerFault, CoolerFault::kNone);
}

TEST_F(SilentCameraTest, WhatWasBeforeAFaultIsNoChangeOfTheTemperature) {
  camera_->stopThread();
  cooler::Cooler& cooler = camera_->cooler();
  cooler.regulate(20);
  faults_->setScript(scriptOf("control C7 fail"));
  bench_.clock->sleepFor(31s);
  cooler.measure();
  ASSERT_EQ(camera_->state().coolerFault, CoolerFault::kNoReading);
  faults_->setScript({});
  cooler.measure();
  cooler.regulate(-5);
  EXPECT_GT(cooler.power(), 0) << "still five degrees to go";
}

TEST_F(SilentCameraTest, TheObjectMayGoBeforeItsThread) {
  fallSilent();
  EXPECT_LT(timeOf([&] { camera_.reset(); }), 2 * kOneRequest + 1000ms);
  EXPECT_TRUE(noThreadLeft(threads_));
}

}  // namespace
}  // namespace orvik::test
