// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "models/catalogue.h"
#include "support/stepped_clock.h"
#include "support/take_image.h"
#include "support/virtual_bench.h"

namespace orvik::test {

/// @return the model codes that both the library and the virtual cameras support
inline std::vector<std::string> modelsToRun() {
  std::vector<std::string> codes;
  for (const sim::Model& model : sim::models()) {
    if (modelOfProduct(model.productId) != nullptr) codes.emplace_back(model.code);
  }
  return codes;
}

/// Mean values, from 0 to 255, of the central part of an image.
struct ImageMeans {
  double all = 0;
  double red = 0;
  double green = 0;
  double blue = 0;
};

/// A virtual camera that captures video of a grey screen on simulated time.
class AutomaticBench {
 public:
  using Make = std::unique_ptr<Camera> (*)();

  /// @param make function that creates the driver; null selects the library's own driver
  explicit AutomaticBench(const std::string& code, sim::CameraOptions options = {},
                          Make make = nullptr) {
    options.sceneKind = sim::SceneKind::kGrey;
    options.pace = sim::Pace::kFree;  // the transfer of frames takes no simulated time
    const sim::Model& model = *sim::findModel(code);
    id_ = bench_.plug(options, model.code);
    camera_ = make != nullptr ? make() : createCamera(model.productId);
    EXPECT_TRUE(camera_->open(1) && camera_->initialise());
    camera_->state().rawOutput = true;
    setFormat(320, 240, 1, IMAGE_8BIT);
  }
  ~AutomaticBench() {
    camera_.reset();
    bench_.host().unplugAll();
  }
  AutomaticBench(const AutomaticBench&) = delete;
  AutomaticBench& operator=(const AutomaticBench&) = delete;

  Camera& camera() { return *camera_; }
  CameraState& now() { return camera_->state(); }
  /// @return the duration of a round of automatic control for this model
  [[nodiscard]] std::chrono::milliseconds roundTime() const {
    return std::chrono::milliseconds(camera_->model().slowAutoControl ? 200 : 100);
  }

  void setFormat(int width, int height, int bin, IMAGE_TYPE type) {
    EXPECT_TRUE(camera_->setResolution(width, height, bin, type));
    const std::size_t bytes = type == IMAGE_RGB24 ? 3 : type == IMAGE_RAW16 ? 2 : 1;
    image_.resize(static_cast<std::size_t>(width * height) * bytes);
  }

  void unplug() { bench_.host().unplug(id_); }

  /// Starts a video and lets the sensor wake up. The first round is then due in 200 ms.
  void start() {
    ASSERT_TRUE(camera_->startCapture(false));
    ASSERT_TRUE(wakeSensor());
    ASSERT_TRUE(pass(std::chrono::milliseconds(0)));
  }
  /// Advances the time by the 20 ms that the worker waits for the sensor at the start of a capture.
  bool wakeSensor() {
    if (!pass(std::chrono::milliseconds(0))) return false;
    clock_->sleepFor(std::chrono::milliseconds(20));
    return true;
  }
  /// Advances the simulated time while the threads of automatic control and of the cooler, if there
  /// is one, wait on it.
  bool pass(std::chrono::milliseconds duration) {
    return clock_->run(duration, camera_->model().cooled ? 2 : 1);
  }
  /// Advances the simulated time without waiting for any thread.
  void tick(std::chrono::milliseconds duration) { clock_->sleepFor(duration); }
  /// Advances the simulated time while no video runs.
  bool passIdle(std::chrono::milliseconds duration) {
    return clock_->run(duration, camera_->model().cooled ? 1 : 0);
  }

  /// Runs rounds until nothing has changed for ten of them. Call start() first.
  /// @return the round of the last change, 0 if nothing changed, or -1 if the changes did not end
  int roundsToRest(int most = 400) {
    int lastChange = 0;
    for (int round = 1; round <= most; ++round) {
      if (now().whiteBalanceAuto) takeFrames();
      const auto before = settings();
      if (!pass(round == 1 ? std::chrono::milliseconds(200) : roundTime())) return -1;
      if (settings() != before) lastChange = round;
      if (round - lastChange >= 10) return lastChange;
    }
    return -1;
  }

  /// Takes the frames in transit, which were exposed before the last change, and one that was
  /// exposed after it. On a slow machine this takes longer than the simulated time allows for.
  void takeFrames() {
    for (int n = 0; n < 6; ++n) {
      EXPECT_TRUE(takeImage(*camera_, image_));
    }
  }

  /// @return the means of an image that was taken with the current settings
  ImageMeans means() {
    takeFrames();
    const int width = now().width;
    const int height = now().height;
    std::array<double, 3> sums{};
    std::array<double, 3> counts{};
    for (int y = height / 5; y < 4 * height / 5; ++y) {
      for (int x = width / 5; x < 4 * width / 5; ++x) {
        const auto pixel = static_cast<std::size_t>(y * width + x);
        for (std::size_t n = 0; n < 3; ++n) {
          const bool isImage = now().imageType == IMAGE_RGB24;
          if (!isImage && n > 0) break;
          const std::size_t colour = isImage ? 2 - n : colourAt(x, y);
          sums.at(colour) += isImage ? image_[3 * pixel + n] : sample(pixel);
          counts.at(colour) += 1;
        }
      }
    }
    return {.all = (sums[0] + sums[1] + sums[2]) / (counts[0] + counts[1] + counts[2]),
            .red = sums[0] / counts[0],
            .green = sums[1] / counts[1],
            .blue = sums[2] / counts[2]};
  }

 private:
  using Settings = std::array<std::int64_t, 4>;

  [[nodiscard]] Settings settings() {
    return {static_cast<std::int64_t>(now().exposureUs), now().gain, now().whiteBalanceRed,
            now().whiteBalanceBlue};
  }
  [[nodiscard]] double sample(std::size_t index) const {
    if (camera_->state().output16Bits) {
      return image_[2 * index + 1] + image_[2 * index] / 256.0;
    }
    return image_[index];
  }
  /// @return the colour of the pixel: 0 for red, 1 for green, 2 for blue
  [[nodiscard]] std::size_t colourAt(int x, int y) const {
    switch (camera_->model().bayer) {
      case BAYER_BG:
        return static_cast<std::size_t>(2 - x % 2 - y % 2);
      case BAYER_GR:
        return static_cast<std::size_t>(y % 2 + 1 - x % 2);
      case BAYER_GB:
        return static_cast<std::size_t>(x % 2 + 1 - y % 2);
      case BAYER_RG:
        break;
    }
    return static_cast<std::size_t>(x % 2 + y % 2);
  }

  std::shared_ptr<SteppedClock> clock_ = std::make_shared<SteppedClock>();
  VirtualBench bench_{clock_};
  int id_ = 0;
  std::unique_ptr<Camera> camera_;
  std::vector<unsigned char> image_;
};

}  // namespace orvik::test
