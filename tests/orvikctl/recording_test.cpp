// SPDX-License-Identifier: MIT
// Recordings whose camera is unplugged at some moment, and comes back.
#include "tools/orvikctl/recording/recording.h"

#include <gtest/gtest.h>

#include <thread>

#include "orvik/orvik_sim.h"
#include "tests/imaging/test_image.h"

namespace orvik::ctl {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

class RecordingTest : public imaging::FileTest {
 protected:
  void SetUp() override {
    FileTest::SetUp();
    options_.virtualCameras = {"T15C,serial=AAAA0001"};
    options_.quiet = true;
    options_.json = true;
    options_.region = "320x240";
    options_.overwrite = true;
    options_.output = file("a.ser").string();
  }
  void TearDown() override {
    OrvikSimUnplugAll();
    FileTest::TearDown();
  }
  static void unplug() {
    Orvik_SIM_CAMERA camera{};
    ASSERT_EQ(OrvikSimList(&camera, 1), 1);
    OrvikSimUnplug(camera.id);
  }
  [[nodiscard]] std::uintmax_t sizeOf(const char* name) const {
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(file(name), error);
    return error ? 0 : size;
  }
  void waitUntilThereIs(const char* name) const {
    while (sizeOf(name) < 5 * kFrame) std::this_thread::sleep_for(5ms);
  }

  static constexpr std::uintmax_t kFrame = 320 * 240;
  VideoOptions options_;
};

TEST_F(RecordingTest, ItIsOverAsSoonAsTheCameraIsGone) {
  // Exposures that the sensor times, and those that the host times; during the start, and later.
  for (const char* exposure : {"1ms", "500ms", "30s"}) {
    for (const auto delay : {1ms, 20ms, 400ms}) {
      options_.controls[Orvik_CTL_EXPOSURE] = exposure;
      CaptureCamera capture(options_, CaptureKind::kVideo);
      Recording recording(capture, options_, {});
      Clock::time_point gone;
      std::jthread hand([&] {
        std::this_thread::sleep_for(delay);
        gone = Clock::now();
        unplug();
      });
      EXPECT_EQ(recording.run(), ExitCode::kCameraFailed) << exposure;
      EXPECT_LT(Clock::now() - gone, 10s) << exposure << ", unplugged after " << delay.count();
    }
  }
  EXPECT_EQ(sizeOf("a-2.ser"), 0U);
}

TEST_F(RecordingTest, GoesOnWhenTheCameraIsBack) {
  options_.resume = true;
  options_.controls[Orvik_CTL_EXPOSURE] = "1ms";
  CaptureCamera capture(options_, CaptureKind::kVideo);
  imaging::VideoLimits limits;
  limits.frames = 400;
  Recording recording(capture, options_, limits);
  std::jthread hand([&] {
    waitUntilThereIs("a.ser");
    unplug();
    // One of the same model is not the same camera.
    EXPECT_GT(OrvikSimPlug("T15C", "serial=BBBB0002"), 0);
    EXPECT_GT(OrvikSimPlug("T15C", "serial=AAAA0001"), 0);
  });
  EXPECT_EQ(recording.run(), ExitCode::kOk);
  // Both have a header, and a time stamp for each of their frames.
  EXPECT_EQ(sizeOf("a.ser") + sizeOf("a-2.ser"), 2 * 178 + 400 * (kFrame + 8));
  EXPECT_GT(sizeOf("a-2.ser"), 178 + kFrame);
}

}  // namespace
}  // namespace orvik::ctl
