// SPDX-License-Identifier: MIT
// Settings change while a video runs, on cameras of every temperament. Every delivered image must
// show the scene. The scene has the same brightness everywhere, so the test detects an image that
// was assembled from two frames or from misplaced samples.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "models/models.h"
#include "support/take_image.h"
#include "support/virtual_bench.h"

namespace orvik::test {
namespace {

using namespace std::chrono_literals;
using sim::Temperament;

constexpr std::uint64_t kExposureUs = 10'000;
constexpr int kLevel = 100;  ///< 8-bit level of the scene at kExposureUs
constexpr int kNone = -1;    ///< returned instead of a level when there is no image
constexpr int kUneven = -2;  ///< returned when the image has more than one level

class FlatScene final : public sim::Scene {
 public:
  void illuminate(const sim::SensorFormat&, const sim::Area&,
                  std::span<float> flux) const override {
    const double electronsPerStep = sim::findModel("T15C")->pixel.fullScale / 4095;
    const double seconds = static_cast<double>(kExposureUs) * 1e-6;
    std::ranges::fill(flux, static_cast<float>((16.0 * kLevel + 8) * electronsPerStep / seconds));
  }
};

/// A T15C that captures video of the flat scene.
class Video {
 public:
  explicit Video(const Temperament& temperament) {
    sim::CameraOptions options;
    options.scene = std::make_shared<FlatScene>();
    options.noise = false;
    options.temperament = temperament;
    options.frameFilter = [dropped = dropBytes_](std::vector<std::uint8_t>& frame) {
      const std::size_t bytes = dropped->exchange(0);
      frame.resize(frame.size() - std::min(bytes, frame.size()));
      return true;
    };
    bench_.plug(options);
    EXPECT_TRUE(camera_.open(1) && camera_.initialise());
    camera_.state().rawOutput = true;
    camera_.setWhiteBalance(50, 50, false);
    camera_.setBrightness(0);
    camera_.setGain(0, false);
    camera_.setExposure(kExposureUs, false);
    setFormat(640, 480, 1, IMAGE_8BIT);
    EXPECT_TRUE(camera_.startCapture(false));
  }
  ~Video() { camera_.close(); }
  Video(const Video&) = delete;
  Video& operator=(const Video&) = delete;

  T15C& camera() { return camera_; }
  /// Removes `bytes` bytes from the end of the next frame.
  void shortenAFrame(std::size_t bytes) { *dropBytes_ = bytes; }

  void setFormat(int width, int height, int bin, IMAGE_TYPE type) {
    EXPECT_TRUE(camera_.setResolution(width, height, bin, type));
    wide_ = type == IMAGE_RAW16;
    image_.resize(static_cast<std::size_t>(width * height) * (wide_ ? 2 : 1));
  }

  /// Takes an image with a timeout of ten seconds.
  /// @return its 8-bit level, kNone or kUneven
  int level() {
    if (!takeImage(camera_, image_, std::chrono::seconds(10))) return kNone;
    const std::size_t step = wide_ ? 2 : 1;
    std::uint8_t low = 255;
    std::uint8_t high = 0;
    // Of 16-bit samples, only the upper byte is read.
    for (std::size_t n = step - 1; n < image_.size(); n += step) {
      low = std::min(low, image_[n]);
      high = std::max(high, image_[n]);
    }
    return high - low > 1 ? kUneven : high;
  }
  /// Takes `images` images and checks that each has the level of the scene.
  void expectLevel(int images = 3) {
    for (int n = 0; n < images; ++n) ASSERT_NEAR(level(), kLevel, 2) << "image " << n;
  }

 private:
  VirtualBench bench_;
  std::shared_ptr<std::atomic<std::size_t>> dropBytes_ =
      std::make_shared<std::atomic<std::size_t>>(0);
  T15C camera_;
  std::vector<unsigned char> image_;
  bool wide_ = false;
};

struct Change {
  const char* name;
  void (*make)(Video& video);
};

constexpr std::array kChanges = {
    Change{"HighSpeed",
           [](Video& video) {
             for (int n = 0; n < 20; ++n) {
               video.camera().setHighSpeedMode(n % 2 == 0);
               video.expectLevel();
             }
           }},
    Change{"Bandwidth",
           [](Video& video) {
             for (int n = 0; n < 20; ++n) {
               video.camera().setBandwidth(n % 2 == 0 ? 40 : 100, false);
               video.expectLevel();
             }
           }},
    Change{"Format",
           [](Video& video) {
             for (int n = 0; n < 10; ++n) {
               video.setFormat(320, 240, 1, IMAGE_RAW16);
               video.expectLevel();
               video.setFormat(640, 480, 1, IMAGE_8BIT);
               video.expectLevel();
             }
           }},
    Change{"HardwareBin",
           [](Video& video) {
             video.setFormat(320, 240, 2, IMAGE_8BIT);
             for (int n = 0; n < 10; ++n) {
               video.camera().setHardwareBin(n % 2 == 0);
               for (int image = 0; image < 3; ++image) ASSERT_GT(video.level(), 0);
             }
           }},
    Change{"LongExposure",
           [](Video& video) {
             video.expectLevel();
             video.camera().setExposure(1'000'000, false);
             // Until the new exposure time has taken effect, images have the old exposure. They are
             // uneven where the rows change to the new exposure one after another.
             int level = 0;
             for (int image = 0; image < 100 && level != 255; ++image) {
               level = video.level();
               ASSERT_NE(level, kNone);
             }
             EXPECT_EQ(level, 255);
             video.camera().setExposure(kExposureUs, false);
             // The long exposure that was ended early is delivered as well. Its image is darker
             // than those of both exposure times.
             for (int image = 0; image < 4 && std::abs(level - kLevel) > 2; ++image) {
               level = video.level();
               ASSERT_NE(level, kNone);
             }
             video.expectLevel();
           }},
    Change{"FrameThatMissesAPacket",
           [](Video& video) {
             video.setFormat(320, 240, 1, IMAGE_8BIT);
             for (int n = 0; n < 5; ++n) {
               video.expectLevel();
               video.shortenAFrame(1024);
             }
             video.expectLevel(10);
           }},
};

struct Temper {
  const char* name;
  Temperament temperament;
};
constexpr std::array kTempers = {
    Temper{"Patient", {}},
    Temper{"Abrupt",
           {.latch = Temperament::Latch::kImmediate, .modeChange = Temperament::ModeChange::kCut}},
    Temper{"Keeping", {.clearHalt = Temperament::ClearHalt::kKeep}},
    Temper{"AbruptAndKeeping",
           {.latch = Temperament::Latch::kImmediate,
            .modeChange = Temperament::ModeChange::kCut,
            .clearHalt = Temperament::ClearHalt::kKeep}},
};

struct Both {
  const Change* change;
  const Temper* temper;
};

std::string nameOf(const Both& both) {
  return std::string(both.change->name) + "On" + both.temper->name;
}

void PrintTo(const Both& both, std::ostream* out) { *out << nameOf(both); }

std::vector<Both> combinations() {
  std::vector<Both> all;
  for (const Change& change : kChanges) {
    for (const Temper& temper : kTempers) {
      all.push_back({&change, &temper});
    }
  }
  return all;
}

class SettingsInVideo : public ::testing::TestWithParam<Both> {};

TEST_P(SettingsInVideo, LeaveEveryImageWhole) {
  const auto& [change, temper] = GetParam();
  Video video(temper->temperament);
  change->make(video);
}

INSTANTIATE_TEST_SUITE_P(, SettingsInVideo, ::testing::ValuesIn(combinations()),
                         [](const auto& instance) { return nameOf(instance.param); });

}  // namespace
}  // namespace orvik::test
