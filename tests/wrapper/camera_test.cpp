// SPDX-License-Identifier: MIT
#include <algorithm>
#include <thread>
#include <utility>

#include "wrapper/wrapper_bench.h"

namespace orvik::test {
namespace {

using namespace std::chrono_literals;

class CameraTest : public WrapperBench {};

TEST_F(CameraTest, IsOpenedByIdentityAndHasOneOwner) {
  EXPECT_EQ(thrownBy([] { Camera::open(); }), Orvik_ERROR_NO_DEVICE);
  plug("serial=AAAA0001");
  Camera first = Camera::open();
  EXPECT_EQ(first.label(), "Vek T15C AAAA0001");
  EXPECT_EQ(thrownBy([] { Camera::open("AAAA0001"); }), Orvik_ERROR_OPEN_FAILED);
  EXPECT_TRUE(first.isOpen()) << "the refused opening must not close it";

  plug("serial=BBBB0002");
  std::error_code error;
  EXPECT_FALSE(Camera::open({}, error).isOpen());
  EXPECT_EQ(error, errorCode(Orvik_ERROR_SEVERAL_DEVICES));
  const Camera second = Camera::open("bbbb0002", error);
  EXPECT_FALSE(error);
  EXPECT_EQ(second.label(), "Vek T15C BBBB0002");

  // The handle moves; the source answers as a camera that is not open.
  Camera moved = std::move(first);
  EXPECT_FALSE(first.isOpen());  // NOLINT(bugprone-use-after-move)
  EXPECT_EQ(thrownBy([&] { first.startVideo(); }), Orvik_ERROR_CAMERA_INDEX);
  moved.startVideo();
  moved.close();
  EXPECT_TRUE(Camera::open("AAAA0001").isOpen());
}

TEST_F(CameraTest, ControlsHaveNamesTypesAndLimits) {
  plug("ambient=-7.5", "T13C_C");
  Camera camera = Camera::open();
  camera.set(control::kExposure, 2s);
  EXPECT_EQ(camera.get(control::kExposure), 2s);
  camera.set(control::kExposure, std::chrono::hours(24));
  EXPECT_EQ(camera.get(control::kExposure).count(), camera.control(control::kExposure)->max())
      << "too many microseconds for 32 bits";
  camera.set(control::kFlip, Flip::kVertical);
  EXPECT_EQ(camera.get(control::kFlip), Flip::kVertical);
  EXPECT_NEAR(camera.get(control::kTemperature).degrees, -7.5, 1);

  camera.set(control::kGain, 100);
  camera.setAuto(control::kGain);
  EXPECT_EQ(camera.read(Orvik_CTL_GAIN), (ControlValue{100, true}));
  camera.set(control::kGain, 120);
  EXPECT_EQ(camera.read(Orvik_CTL_GAIN), (ControlValue{120, false}));

  const auto controls = camera.controls();
  const auto isGain = [](const Control& one) { return one.name() == "Gain"; };
  const auto gain = std::find_if(controls.begin(), controls.end(), isGain);
  ASSERT_NE(gain, controls.end());
  gain->write({gain->max() + 1});
  EXPECT_EQ(gain->read().value, gain->max());

  const Control kept = *gain;
  camera.close();
  EXPECT_EQ(thrownBy([&] { static_cast<void>(kept.read()); }), Orvik_ERROR_NO_CAMERA_OBJECT);
}

TEST_F(CameraTest, AnErrorNamesCameraAndActionAndExplainsItself) {
  plug("serial=AAAA0001");
  Camera camera = Camera::open();
  try {
    camera.dark().use(true);
    FAIL();
  } catch (const Error& error) {
    const std::string text = error.what();
    EXPECT_TRUE(text.starts_with("Vek T15C AAAA0001: using the dark frame: ")) << text;
    EXPECT_TRUE(text.ends_with("(code 33)")) << text;
  }
  std::error_code error;
  EXPECT_EQ(camera.hotPixels().list(error).size(), 0U);
  EXPECT_EQ(error, errorCode(Orvik_ERROR_NO_TABLE));
  camera.setFormat(camera.wholeSensor(), error);
  EXPECT_FALSE(error) << "the former error must not stay";
}

TEST_F(CameraTest, AStopEndsAGuidePulse) {
  plug("");
  Camera camera = Camera::open();
  std::stop_source stop;
  const auto begun = std::chrono::steady_clock::now();
  std::jthread stopper([&] {
    std::this_thread::sleep_for(50ms);
    stop.request_stop();
  });
  camera.pulse(Orvik_GUIDE_DIR_1, 50s, stop.get_token());
  camera.pulse(Orvik_GUIDE_DIR_1, 50s, stop.get_token());  // requested before it begins
  EXPECT_LT(std::chrono::steady_clock::now() - begun, 20s);
  EXPECT_EQ(thrownBy([&] { camera.pulse(Orvik_GUIDE_DIR_1, 61s); }), Orvik_ERROR_ARGUMENT);
}

TEST_F(CameraTest, HotPixelsAndFlashAreReached) {
  plug("");
  Camera camera = Camera::open();
  camera.hotPixels().mark({5, 7}, true);
  camera.hotPixels().mark({3, 9}, true);
  camera.hotPixels().save();
  EXPECT_EQ(camera.hotPixels().load(), 2);
  EXPECT_EQ(camera.hotPixels().list().at(1).x, 3);

  int steps = 0;
  std::vector<std::uint8_t> bytes(4096);
  camera.firmware().readFlash(0x40000, bytes, [&](Orvik_STEP step, auto, auto total) {
    steps += step == Orvik_STEP_READ && total == 4096 ? 1 : 0;
  });
  EXPECT_GT(steps, 0);
  EXPECT_NE(std::count(bytes.begin(), bytes.end(), 0xFF), 4096) << "the table lies there";
  std::array<std::uint8_t, 32> id{1, 2, 3};
  camera.setId(id);
  EXPECT_EQ(camera.id(), id);
}

}  // namespace
}  // namespace orvik::test
