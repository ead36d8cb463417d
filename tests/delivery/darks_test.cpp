// SPDX-License-Identifier: MIT
// Dark frames, hot pixels and the time mark on a whole virtual camera.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "delivery/dark_file.h"
#include "models/models.h"
#include "support/scratch_folder.h"
#include "support/take_image.h"
#include "support/virtual_bench.h"

namespace orvik::test {
namespace {

constexpr int kSensorWidth = 1304;
constexpr int kSensorHeight = 976;
constexpr std::size_t kSensorPixels = std::size_t{kSensorWidth} * kSensorHeight;
constexpr int kLevel = 50;

using Bytes = std::vector<std::uint8_t>;

/// Light that makes every 8-bit sample kLevel at 10 ms and gain 0.
class EvenScene : public sim::Scene {
 public:
  void illuminate(const sim::SensorFormat&, const sim::Area&,
                  std::span<float> flux) const override {
    const double electrons = (16.0 * kLevel + 8) * sim::findModel("T15C")->pixel.fullScale / 4095;
    std::ranges::fill(flux, static_cast<float>(electrons / 0.01));
  }
};

class DarksTest : public ::testing::Test {
 protected:
  void plugEven() {
    sim::CameraOptions options;
    options.scene = std::make_shared<EvenScene>();
    options.noise = false;
    options.pace = sim::Pace::kFree;
    plug(options);
    camera_->setBrightness(0);
    camera_->setGain(0, false);
    camera_->setExposure(10000, false);
  }

  /// Takes another camera in the place of the one before.
  void plug(sim::CameraOptions options) {
    camera_ = nullptr;
    bench_.host().unplugAll();
    options.serial = 0x1234ABCD;
    bench_.plug(options);
    open();
  }
  void open() {
    camera_ = nullptr;
    camera_ = std::make_unique<T15C>();
    ASSERT_TRUE(camera_->open(1));
    ASSERT_TRUE(camera_->initialise());
    camera_->setWhiteBalance(50, 50, false);
    camera_->state().rawOutput = true;
  }

  Bytes take(std::size_t bytes) {
    Bytes image(bytes);
    EXPECT_TRUE(camera_->startCapture(false));
    EXPECT_TRUE(takeImage(*camera_, image));
    EXPECT_TRUE(camera_->stopCapture());
    return image;
  }

  /// Takes a dark of the whole sensor with the present exposure.
  void recordDark() {
    ASSERT_TRUE(camera_->setResolution(kSensorWidth, kSensorHeight, 1, IMAGE_8BIT));
    ASSERT_TRUE(camera_->startCapture(false));
    const int frames = camera_->startDarkRecording();
    Bytes image(kSensorPixels);
    for (int i = 0; i < frames; ++i) {
      EXPECT_FALSE(camera_->dark().isRecordingOver());
      ASSERT_TRUE(takeImage(*camera_, image));
    }
    EXPECT_TRUE(camera_->dark().isRecordingOver());
    ASSERT_TRUE(camera_->stopCapture());
  }

  ScratchFolder folder_;
  VirtualBench bench_;
  std::unique_ptr<T15C> camera_;
};

TEST_F(DarksTest, EveryRegionAndBinLosesItsPartOfTheDark) {
  plugEven();
  constexpr int kWidth = 96;
  constexpr int kHeight = 62;
  constexpr int kX = 204;  // sensor pixels
  constexpr int kY = 98;
  constexpr int kHotX = 7;  // of the delivered image
  constexpr int kHotY = 10;
  const std::string path = folder_.file("dark.bmp");
  for (int bin = 1; bin <= 4; ++bin) {
    // All samples that one pixel is made of are hot, and so few that the dark's mean stays 0.
    Bytes dark(kSensorPixels);
    for (int j = 0; j < bin; ++j) {
      for (int i = 0; i < bin; ++i) {
        const int column = kX + kHotX % 2 + kHotX / 2 * 2 * bin + 2 * i;
        const int row = kY + kHotY % 2 + kHotY / 2 * 2 * bin + 2 * j;
        dark[static_cast<std::size_t>(row * kSensorWidth + column)] = 40;
      }
    }
    ASSERT_TRUE(writeDarkFile(path, kSensorWidth, kSensorHeight, dark));
    ASSERT_EQ(camera_->dark().load(path), DarkFileResult::kDone);
    camera_->dark().use(true);
    for (const bool hardware : {true, false}) {
      SCOPED_TRACE("bin " + std::to_string(bin) + (hardware ? " camera" : " host"));
      camera_->setHardwareBin(hardware);
      ASSERT_TRUE(camera_->setResolution(kWidth, kHeight, bin, IMAGE_8BIT));
      ASSERT_TRUE(camera_->setStartPosition(kX, kY));
      // The host adds samples up, each without its dark.
      const int samples = hardware ? 1 : bin * bin;
      const auto level = static_cast<std::uint8_t>(std::min(samples * kLevel, 255));
      Bytes expected(std::size_t{kWidth} * kHeight, level);
      expected[kHotY * kWidth + kHotX] = static_cast<std::uint8_t>(samples * (kLevel - 40));
      EXPECT_EQ(take(expected.size()), expected);
    }
  }
}

TEST_F(DarksTest, SkippedForShortAutomaticExposuresAndSixteenBits) {
  plugEven();
  Bytes dark(kSensorPixels);
  dark[40 * kSensorWidth + 40] = 40;
  const std::string path = folder_.file("dark.bmp");
  ASSERT_TRUE(writeDarkFile(path, kSensorWidth, kSensorHeight, dark));
  ASSERT_EQ(camera_->dark().load(path), DarkFileResult::kDone);
  camera_->dark().use(true);
  ASSERT_TRUE(camera_->setResolution(64, 64, 1, IMAGE_8BIT));
  camera_->setStartPosition(0, 0);
  const auto deliver = [&](bool automatic, std::uint64_t exposureUs) {
    Bytes image(64 * 64);
    camera_->setExposure(exposureUs, automatic);
    EXPECT_TRUE(camera_->startCapture(true));
    EXPECT_TRUE(eventually([&] { return camera_->capture().status() == Orvik_EXPSTATE_READY; }));
    EXPECT_TRUE(takeImage(*camera_, image));
    camera_->stopCapture();
    camera_->setExposure(10000, false);
    return int{image[40 * 64 + 40]};
  };
  constexpr int kWhite = 255;  // so long exposures are
  EXPECT_EQ(deliver(false, 100000), kWhite - 40);
  EXPECT_EQ(deliver(true, 499999), kWhite);
  EXPECT_EQ(deliver(true, 500000), kWhite - 40);

  ASSERT_TRUE(camera_->setResolution(64, 64, 1, IMAGE_RAW16));
  camera_->setStartPosition(0, 0);
  const Bytes wide = take(64 * 64 * 2);
  EXPECT_EQ(wide[(40 * 64 + 40) * 2 + 1], kLevel);
}

TEST_F(DarksTest, TheTimeIsInTheImageWhileItIsWanted) {
  plugEven();
  ASSERT_TRUE(camera_->setResolution(240, 60, 1, IMAGE_8BIT));
  EXPECT_EQ(take(240 * 60), Bytes(240 * 60, kLevel));
  camera_->state().timeMark.store(true);
  const Bytes grey = take(240 * 60);
  EXPECT_EQ(std::ranges::count(grey, 0) + std::ranges::count(grey, 255), 20 * 8 * 11);
  ASSERT_TRUE(camera_->setResolution(240, 60, 1, IMAGE_RGB24));
  const Bytes colour = take(240 * 60 * 3);
  EXPECT_EQ(std::ranges::count(colour, 0) + std::ranges::count(colour, 255), 20 * 8 * 11 * 3);
  ASSERT_TRUE(camera_->setResolution(240, 60, 1, IMAGE_RAW16));
  const Bytes wide = take(240 * 60 * 2);
  EXPECT_EQ(std::ranges::count(wide, 255), 0);
}

/// How far an image lies from one of a perfect sensor, as the root of the mean square.
double deviation(const Bytes& image, const Bytes& perfect) {
  double sum = 0;
  for (std::size_t i = 0; i < image.size(); ++i) {
    const double d = int{image[i]} - int{perfect[i]};
    sum += d * d;
  }
  return std::sqrt(sum / static_cast<double>(image.size()));
}

TEST_F(DarksTest, CorrectionsBringALongExposureNearerToAPerfectSensor) {
  sim::CameraOptions options;
  options.pace = sim::Pace::kFree;
  options.ambient = 35;
  const auto expose = [&] {
    camera_->setBrightness(80);
    camera_->setGain(100, false);
    camera_->setExposure(900000, false);
    EXPECT_TRUE(camera_->setResolution(kSensorWidth, kSensorHeight, 1, IMAGE_8BIT));
  };
  options.sceneKind = sim::SceneKind::kDark;
  plug(options);
  expose();
  recordDark();
  const std::string path = folder_.file("covered.bmp");
  ASSERT_TRUE(camera_->dark().save(path));

  options.sceneKind = sim::SceneKind::kGradient;
  options.light = 0.009;
  options.noise = false;
  plug(options);
  expose();
  const Bytes perfect = take(kSensorPixels);

  options.noise = true;
  plug(options);
  expose();
  const double raw = deviation(take(kSensorPixels), perfect);
  ASSERT_EQ(camera_->dark().load(path), DarkFileResult::kDone);
  camera_->dark().use(true);
  const double darkOnly = deviation(take(kSensorPixels), perfect);
  camera_->dark().use(false);
  ASSERT_TRUE(camera_->deriveHotPixels());
  ASSERT_TRUE(camera_->hotPixels().useTable(true));
  const double hotOnly = deviation(take(kSensorPixels), perfect);
  camera_->dark().use(true);
  const double both = deviation(take(kSensorPixels), perfect);
  EXPECT_LT(darkOnly, 0.8 * raw);
  EXPECT_LT(hotOnly, 0.8 * raw);
  EXPECT_LT(both, 0.8 * raw);
}

}  // namespace
}  // namespace orvik::test
