// SPDX-License-Identifier: MIT
// Dark frames, hot pixels and the time mark, tested with a complete virtual camera.
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

/// A scene in which every 8-bit sample is kLevel at an exposure of 10 ms and gain 0.
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
    bench_.plug(options);
    ASSERT_TRUE(camera_->open(1));
    ASSERT_TRUE(camera_->initialise());
    camera_->state().rawOutput = true;
    camera_->setWhiteBalance(50, 50, false);
    camera_->setBrightness(0);
    camera_->setGain(0, false);
    camera_->setExposure(10000, false);
  }

  Bytes take(std::size_t bytes) {
    Bytes image(bytes);
    EXPECT_TRUE(camera_->startCapture(false));
    EXPECT_TRUE(takeImage(*camera_, image));
    EXPECT_TRUE(camera_->stopCapture());
    return image;
  }

  ScratchFolder folder_;
  VirtualBench bench_;
  std::unique_ptr<T15C> camera_ = std::make_unique<T15C>();
};

TEST_F(DarksTest, EveryRegionAndBinLosesItsPartOfTheDark) {
  plugEven();
  constexpr int kWidth = 96;
  constexpr int kHeight = 62;
  constexpr int kX = 204;  // in sensor pixels
  constexpr int kY = 98;
  constexpr int kHotX = 7;  // in pixels of the delivered image
  constexpr int kHotY = 10;
  const std::string path = folder_.file("dark.bmp");
  for (int bin = 1; bin <= 4; ++bin) {
    // All samples that one pixel is binned from are hot. They are so few that the mean of the dark
    // frame stays 0.
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
      // The host adds up the samples after the dark value of each has been subtracted.
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
    // The new position applies to later frames. This frame keeps its own position.
    camera_->setStartPosition(200, 100);
    EXPECT_TRUE(takeImage(*camera_, image));
    camera_->stopCapture();
    camera_->setStartPosition(0, 0);
    camera_->setExposure(10000, false);
    return int{image[40 * 64 + 40]};
  };
  constexpr int kWhite = 255;  // exposures of 100 ms or more saturate the image
  EXPECT_EQ(deliver(false, 100000), kWhite - 40);
  EXPECT_EQ(deliver(true, 499999), kWhite);
  EXPECT_EQ(deliver(true, 500000), kWhite - 40);

  ASSERT_TRUE(camera_->setResolution(64, 64, 1, IMAGE_RAW16));
  camera_->setStartPosition(0, 0);
  const Bytes wide = take(64 * 64 * 2);
  EXPECT_EQ(wide[(40 * 64 + 40) * 2 + 1], kLevel);
}

// Samples are proportional to the light until gamma is applied. The dark frame is therefore
// subtracted first, then gamma is applied, and a hot pixel is replaced from the final values of its
// neighbours.
TEST_F(DarksTest, GammaComesBetweenTheDarkAndTheHotPixels) {
  plugEven();
  constexpr std::size_t kX = 40;
  constexpr std::size_t kY = 40;
  // The dark frame subtracts 40 from the three neighbours on the left and from the one above.
  Bytes dark(kSensorPixels);
  for (const auto& [x, y] : {std::pair{-2, -2}, {-2, 0}, {-2, 2}, {0, -2}}) {
    dark[static_cast<std::size_t>((int{kY} + y) * kSensorWidth + int{kX} + x)] = 40;
  }
  const std::string path = folder_.file("dark.bmp");
  ASSERT_TRUE(writeDarkFile(path, kSensorWidth, kSensorHeight, dark));
  ASSERT_EQ(camera_->dark().load(path), DarkFileResult::kDone);
  camera_->dark().use(true);
  ASSERT_TRUE(camera_->hotPixels().mark(kX, kY, true));
  camera_->hotPixels().use(true);
  camera_->setGamma(100);
  ASSERT_TRUE(camera_->setResolution(64, 64, 1, IMAGE_8BIT));
  ASSERT_TRUE(camera_->setStartPosition(0, 0));
  const Bytes image = take(64 * 64);
  const auto bent = [](int level) { return std::lround(255 * std::sqrt(level / 255.0)); };
  EXPECT_EQ(image[kY * 64 + kX - 2], bent(kLevel - 40));
  EXPECT_EQ(image[kY * 64 + kX], (bent(kLevel - 40) + bent(kLevel)) / 2);
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

}  // namespace
}  // namespace orvik::test
