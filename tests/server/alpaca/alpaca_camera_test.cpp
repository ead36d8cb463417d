// SPDX-License-Identifier: MIT
// What clients cannot bring about by themselves: the page's settings and captures.
#include "integrations/server/alpaca/alpaca_camera.h"

#include <gtest/gtest.h>

#include <algorithm>
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
    EXPECT_TRUE(eventually([&] {
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

/// Whether an image is another one, mirrored. Their noise differs, so that the means of tiles are
/// compared, for each place in the mosaic.
void expectMirrored(const AlpacaImage& image, const AlpacaImage& upright, int flip) {
  constexpr int kTile = 120;
  constexpr double kNoise = 0.03;
  for (int left = 0; left + kTile <= image.numX; left += kTile) {
    for (int place = 0; place < 4; ++place) {
      double sum = 0;
      double wanted = 0;
      for (int x = left + place % 2; x < left + kTile; x += 2) {
        for (int y = place / 2; y < kTile; y += 2) {
          const int fromX = (flip & 1) != 0 ? image.numX - 1 - x : x;
          const int fromY = (flip & 2) != 0 ? image.numY - 1 - y : y;
          sum += image.as<std::uint16_t>()[x * image.numY + y];
          wanted += upright.as<std::uint16_t>()[fromX * image.numY + fromY];
        }
      }
      ASSERT_NEAR(sum / wanted, 1, kNoise) << "tile at " << left << ", place " << place;
    }
  }
}

TEST_F(AlpacaCameraTest, FlipsMirrorTheImageAndItsBayerOffsets) {
  plug("T13C", "serial=00000001,scene=gradient,light=8");
  const auto one = connected();
  ImageRoom room;
  std::shared_ptr<AlpacaImage> upright;
  for (int flip = 0; flip < 4; ++flip) {
    SCOPED_TRACE(flip);
    EXPECT_EQ(told([&](Done done) {
                camera()->setControl(Orvik_CTL_FLIP, {flip, false}, done);
              }),
              "");
    EXPECT_EQ(value(*one, "bayeroffsetx"), (flip & 1) != 0 ? 0 : 1);
    EXPECT_EQ(value(*one, "bayeroffsety"), (flip & 2) != 0 ? 1 : 0);
    auto image = take(*one);
    ASSERT_NE(image, nullptr);
    if (flip == 0) {
      upright = room.make(image->numX, image->numY, 2, {});
      std::ranges::copy(image->bytes(), upright->samples.get());
    }
    expectMirrored(*image, *upright, flip);
    image.reset();  // the next one waits for its memory
    // A part of the mirrored image, which is another part of the sensor.
    one->setSubframe(&Subframe::startX, 241);
    one->setSubframe(&Subframe::numX, 2);
    const auto column = take(*one);
    ASSERT_NE(column, nullptr);
    double sum = 0;
    double wanted = 0;
    for (int y = 0; y < column->numY; ++y) {
      const int fromX = (flip & 1) != 0 ? upright->numX - 1 - 241 : 241;
      const int fromY = (flip & 2) != 0 ? column->numY - 1 - y : y;
      sum += column->as<std::uint16_t>()[y];
      wanted += upright->as<std::uint16_t>()[fromX * upright->numY + fromY];
    }
    EXPECT_NEAR(sum / wanted, 1, 0.03);
    one->setSubframe(&Subframe::startX, 0);
    one->setSubframe(&Subframe::numX, 1304);
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
  EXPECT_TRUE(eventually([&] {
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
  EXPECT_TRUE(eventually([&] { return one->view().state == CameraState::kError; }));
  EXPECT_EQ(one->view().exposureFailure->number(), ErrorNumber::kCancelled);
  EXPECT_NE(take(*one), nullptr);
}

}  // namespace
}  // namespace orvik::server::test
