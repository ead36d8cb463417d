// SPDX-License-Identifier: MIT
// What clients cannot bring about by themselves: the page's settings and captures.
#include "integrations/server/alpaca/alpaca_camera.h"

#include <gtest/gtest.h>

#include <future>
#include <string>

#include "integrations/server/alpaca/members.h"
#include "server/camera/camera_bench.h"

namespace orvik::server::test {
namespace {

class AlpacaCameraTest : public CameraBench {
 protected:
  std::shared_ptr<AlpacaCamera> connected(int number = 0) {
    auto one = AlpacaCamera::make(camera(number), kUsualWiring);
    std::promise<std::optional<AlpacaError>> told;
    one->connect([&](const std::optional<AlpacaError>& error) { told.set_value(error); });
    EXPECT_FALSE(told.get_future().get());
    return one;
  }

  static std::shared_ptr<const AlpacaImage> take(AlpacaCamera& camera) {
    camera.startExposure(0.002, true);
    EXPECT_TRUE(becomesTrue([&] {
      const CameraView view = camera.view();
      EXPECT_FALSE(view.exposureFailure) << view.exposureFailure->what();
      return view.image != nullptr || view.exposureFailure;
    }));
    return camera.view().image;
  }

  static Json value(const AlpacaCamera& camera, const char* member) {
    return findMember(member)->get(camera.view());
  }
};

TEST_F(AlpacaCameraTest, FlipsMirrorTheImageAndItsBayerOffsets) {
  // The first images of cameras with the same serial number are equal.
  constexpr const char* kOptions = "serial=00000001,scene=gradient,light=0.3";
  for (int n = 0; n < 4; ++n) plug("T13C", kOptions);
  std::shared_ptr<const AlpacaImage> upright;
  for (int flip = 0; flip < 4; ++flip) {
    SCOPED_TRACE(flip);
    const auto one = connected(flip);
    EXPECT_EQ(told([&](Done done) {
                camera(flip)->setControl(Orvik_CTL_FLIP, {flip, false}, done);
              }),
              "");
    const bool isMirrored = (flip & 1) != 0;
    const bool isUpsideDown = (flip & 2) != 0;
    EXPECT_EQ(value(*one, "bayeroffsetx"), isMirrored ? 0 : 1);
    EXPECT_EQ(value(*one, "bayeroffsety"), isUpsideDown ? 1 : 0);
    const auto image = take(*one);
    ASSERT_NE(image, nullptr);
    if (flip == 0) upright = image;
    bool isSame = true;
    for (int x = 0; x < image->numX; ++x) {
      for (int y = 0; y < image->numY; ++y) {
        const int fromX = isMirrored ? image->numX - 1 - x : x;
        const int fromY = isUpsideDown ? image->numY - 1 - y : y;
        isSame = isSame && image->as<std::uint16_t>()[x * image->numY + y] ==
                               upright->as<std::uint16_t>()[fromX * image->numY + fromY];
      }
    }
    EXPECT_TRUE(isSame);
  }
}

TEST_F(AlpacaCameraTest, ExposuresUseNothingOfThePageAndLeaveItAsItIs) {
  plug("T15C", "serial=00000001,scene=grey");
  const auto page = opened();
  const auto one = connected();
  const auto setByPage = [&](Orvik_CONTROL_TYPE type, ControlValue value) {
    EXPECT_EQ(told([&](Done done) { page->setControl(type, value, done); }), "");
  };
  setByPage(Orvik_CTL_GAIN, {300, true});
  setByPage(Orvik_CTL_GAMMA, {80, false});
  setByPage(Orvik_CTL_WB_B, {95, false});
  EXPECT_EQ(told([&](Done done) {
              page->setFormat({100, 100, 640, 480}, 2, Orvik_IMG_RGB24, done);
            }),
            "");
  // A dark frame of nothing but the recording of one image.
  EXPECT_EQ(told([&](Done done) {
              page->control(
                  [](Camera& camera) {
                    camera.setFormat(camera.wholeSensor(1, Orvik_IMG_RAW8));
                    const int frames = camera.dark().startRecording();
                    for (int n = 0; n < frames; ++n) snap(camera);
                    camera.dark().use(true);
                  },
                  done);
            }),
            "");
  const auto before = page->status();
  ASSERT_TRUE(before->usesDark);
  one->setReadoutMode(1);
  one->setGain(50);
  const auto first = take(*one);
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(first->numX, 1304);
  one->startExposure(500, true);
  EXPECT_TRUE(becomesTrue([&] {
    bool isNeutral = false;
    EXPECT_EQ(told([&](Done done) {
                page->control(
                    [&](Camera& camera) {
                      isNeutral = camera.dark().info().inUse == Orvik_FALSE &&
                                  camera.read(Orvik_CTL_GAIN) == ControlValue{50, false} &&
                                  camera.get(control::kGamma) == 50 &&
                                  camera.get(control::kWhiteBalanceBlue) == 50;
                    },
                    done);
              }),
              "");
    return isNeutral;
  }));
  std::promise<void> aborted;
  one->abortExposure([&](const auto&) { aborted.set_value(); });
  aborted.get_future().get();
  EXPECT_EQ(told([&](Done done) { page->control([](Camera&) {}, done); }), "");
  const auto after = page->status();
  EXPECT_EQ(after->format, before->format);
  EXPECT_TRUE(after->usesDark);
}

TEST_F(AlpacaCameraTest, CapturesOfOthersAreRespected) {
  plug("T15C", "serial=00000001");
  const auto page = opened();
  const auto one = connected();
  const auto first = take(*one);
  Awaited ended;
  ASSERT_TRUE(page->tryCapture(
      {.what = "a video of the page",
       .run = [](CaptureContext& context) { sleepFor(std::chrono::hours(1), context.stop()); },
       .done = ended.done()}));
  try {
    one->startExposure(0.01, true);
    FAIL() << "two captures at a time";
  } catch (const AlpacaError& error) {
    EXPECT_EQ(error.number(), ErrorNumber::kInvalidOperation);
    EXPECT_NE(std::string(error.what()).find("a video of the page"), std::string::npos);
  }
  EXPECT_EQ(one->view().image, first);
  std::promise<void> aborted;
  one->abortExposure([&](const auto&) { aborted.set_value(); });
  aborted.get_future().get();
  EXPECT_EQ(page->status()->activity, Activity::kCapture);
  std::promise<void> disconnected;
  one->disconnect([&](const auto&) { disconnected.set_value(); });
  disconnected.get_future().get();
  EXPECT_EQ(page->status()->activity, Activity::kCapture);
  page->stopCapture();
  EXPECT_EQ(ended.problem(), "");
}

TEST_F(AlpacaCameraTest, AnExposureThatSomebodyElseStopsIsReported) {
  plug("T15C", "serial=00000001");
  const auto page = opened();
  const auto one = connected();
  one->startExposure(500, true);
  EXPECT_EQ(page->status()->capture, "exposure of 500 s by Alpaca");
  page->stopCapture();
  EXPECT_TRUE(becomesTrue([&] { return one->view().state == CameraState::kError; }));
  EXPECT_EQ(one->view().exposureFailure->number(), ErrorNumber::kCancelled);
  EXPECT_NE(take(*one), nullptr);
}

}  // namespace
}  // namespace orvik::server::test
