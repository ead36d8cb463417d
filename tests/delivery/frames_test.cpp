// SPDX-License-Identifier: MIT
// These tests trace every pixel of a delivered frame to its position on the sensor.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <tuple>

#include "algorithm/grey10.h"
#include "algorithm/rgb_convert.h"
#include "models/models.h"
#include "support/take_image.h"
#include "support/virtual_bench.h"

namespace orvik::test {
namespace {

constexpr std::uint64_t kExposureUs = 10000;

/// @return a number from 1 to 60 for each sensor pixel, which is the expected 8-bit sample
int codeAt(int x, int y) {
  auto h =
      static_cast<std::uint32_t>(x) * 0x9E3779B1U ^ static_cast<std::uint32_t>(y) * 0x85EBCA77U;
  h ^= h >> 15U;
  h *= 0x2C1B3CE1U;
  h ^= h >> 13U;
  return static_cast<int>(h % 60) + 1;
}

/// A scene that gives every pixel the 12-bit sample 16 * code + 8. This value is in the middle of
/// its 8-bit step, so the limited resolution of the exposure time cannot move it to the next step.
class CodedScene : public sim::Scene {
 public:
  explicit CodedScene(std::function<int(int, int)> code = codeAt) : code_(std::move(code)) {}

  void illuminate(const sim::SensorFormat&, const sim::Area& area,
                  std::span<float> flux) const override {
    const double electronsPerStep = sim::findModel("T15C")->pixel.fullScale / 4095;
    const double seconds = static_cast<double>(kExposureUs) * 1e-6;
    for (int y = 0; y < area.height; ++y) {
      for (int x = 0; x < area.width; ++x) {
        const double steps = 16.0 * code_(area.x + x, area.y + y) + 8;
        flux[static_cast<std::size_t>(y) * static_cast<std::size_t>(area.width) +
             static_cast<std::size_t>(x)] = static_cast<float>(steps * electronsPerStep / seconds);
      }
    }
  }

 private:
  std::function<int(int, int)> code_;
};

/// A region of interest with the settings for the camera and the host.
struct Request {
  int width, height, bin;
  bool hardwareBin;
  IMAGE_TYPE type;
  bool flipHorizontal, flipVertical;
  int x, y;  ///< start position in sensor pixels
  bool highSpeed = false;
};

class FramesTest : public ::testing::Test {
 protected:
  void plug(std::shared_ptr<const sim::Scene> scene) {
    sim::CameraOptions options;
    options.scene = std::move(scene);
    options.noise = false;
    options.pace = sim::Pace::kFree;
    bench_.plug(options);
    ASSERT_TRUE(camera_.open(1));
    ASSERT_TRUE(camera_.initialise());
    camera_.setWhiteBalance(50, 50, false);
    camera_.setBrightness(0);
    camera_.setGain(0, false);
    camera_.setExposure(kExposureUs, false);
  }

  std::vector<std::uint8_t> take(const Request& request, std::size_t bytes, bool raw = true) {
    camera_.state().rawOutput = raw;
    camera_.setHardwareBin(request.hardwareBin);
    camera_.setFlip(request.flipHorizontal, request.flipVertical);
    EXPECT_TRUE(camera_.setResolution(request.width, request.height, request.bin, request.type));
    camera_.setHighSpeedMode(request.highSpeed);
    camera_.setStartPosition(request.x, request.y);
    std::vector<std::uint8_t> image(bytes, 0xEE);
    EXPECT_TRUE(camera_.startCapture(false));
    EXPECT_TRUE(takeImage(camera_, image));
    EXPECT_TRUE(camera_.stopCapture());
    return image;
  }

  VirtualBench bench_;
  T15C camera_;
};

/// The sensor's samples in the region of interest after the flips and before any binning on the
/// host.
class View {
 public:
  explicit View(const Request& request) : request_(request) {}

  /// @param x, y position in sensor pixels inside the region of interest, after the flips
  [[nodiscard]] int code(int x, int y) const {
    const int columns = request_.width * request_.bin;
    const int rows = request_.height * request_.bin;
    const int sensorX = request_.x + (request_.flipHorizontal ? columns - 1 - x : x);
    const int sensorY = request_.y + (request_.flipVertical ? rows - 1 - y : y);
    return codeAt(sensorX, sensorY);
  }

  /// Calls `use` with each code that a binned pixel is made of. These are the codes of its colour
  /// in its group of cells.
  template <class Use>
  void forEachOf(int x, int y, Use use) const {
    const int b = request_.bin;
    const int left = x % 2 + x / 2 * 2 * b;
    const int top = y % 2 + y / 2 * 2 * b;
    for (int j = 0; j < b; ++j) {
      for (int i = 0; i < b; ++i) use(code(left + 2 * i, top + 2 * j));
    }
  }

 private:
  const Request& request_;
};

/// @return whether the pixel's sample carried a mark and was replaced by one from two rows away
bool carriedMark(const Request& request, int x, int y) {
  const int perMark = request.type == IMAGE_RAW16 ? 2 : 4;
  const int b = request.hardwareBin ? 1 : request.bin;
  const int column = request.flipHorizontal ? request.width * b - 1 - x * b : x * b;
  const int row = request.flipVertical ? request.height * b - 1 - y * b : y * b;
  const int reach = perMark + 2 * b;  // includes the group that a marked sample is binned into
  const bool head = row < 2 * b && column < reach;
  const bool tail = row >= (request.height - 2) * b && column >= request.width * b - reach;
  return head || tail;
}

int expected8(const Request& request, int x, int y) {
  const View view(request);
  if (request.bin == 1) return view.code(x, y);
  double mean = 0;
  int sum = 0;
  view.forEachOf(x, y, [&](int code) {
    sum += code;
    mean += 16.0 * code + 8;
  });
  if (!request.hardwareBin) return std::min(sum, 255);
  return static_cast<int>(mean / (request.bin * request.bin) / 16);
}

int expected16(const Request& request, int x, int y) {
  const View view(request);
  double mean = 0;
  view.forEachOf(x, y, [&](int code) { mean += 16.0 * code + 8; });
  return static_cast<int>(mean / (request.bin * request.bin) * 16);
}

std::string describe(const Request& r) {
  return std::to_string(r.width) + "x" + std::to_string(r.height) + "+" + std::to_string(r.x) +
         "+" + std::to_string(r.y) + " bin " + std::to_string(r.bin) +
         (r.hardwareBin ? " in the camera" : " on the host") +
         (r.type == IMAGE_RAW16 ? " 16 bits" : " 8 bits") + (r.flipHorizontal ? " mirrored" : "") +
         (r.flipVertical ? " upside down" : "") + (r.highSpeed ? " fast" : "");
}

TEST_F(FramesTest, EveryPixelComesFromItsPlaceOnTheSensor) {
  plug(std::make_shared<CodedScene>());
  std::vector<Request> requests;
  for (int bin = 1; bin <= 4; ++bin) {
    for (const bool hardware : {true, false}) {
      for (const IMAGE_TYPE type : {IMAGE_8BIT, IMAGE_RAW16}) {
        for (int flips = 0; flips < 4; ++flips) {
          requests.push_back({.width = 96,
                              .height = 62,
                              .bin = bin,
                              .hardwareBin = hardware,
                              .type = type,
                              .flipHorizontal = (flips & 1) != 0,
                              .flipVertical = (flips & 2) != 0,
                              .x = 204,
                              .y = 98});
        }
      }
    }
  }
  requests.push_back({1304, 976, 1, true, IMAGE_8BIT, false, false, 0, 0});
  requests.push_back({1304, 976, 1, true, IMAGE_RAW16, true, true, 0, 0});
  requests.push_back({652, 488, 2, true, IMAGE_8BIT, false, false, 0, 0});
  requests.push_back({640, 480, 1, true, IMAGE_8BIT, false, false, 664, 496, true});

  for (const Request& request : requests) {
    SCOPED_TRACE(describe(request));
    const bool wide = request.type == IMAGE_RAW16;
    const auto pixels = static_cast<std::size_t>(request.width * request.height);
    const auto image = take(request, pixels * (wide ? 2 : 1));
    int wrong = 0;
    for (int y = 0; y < request.height; ++y) {
      for (int x = 0; x < request.width; ++x) {
        if (carriedMark(request, x, y)) continue;
        const auto i = static_cast<std::size_t>(y * request.width + x);
        const int value = wide ? image[2 * i] | image[2 * i + 1] << 8 : image[i];
        const int expected = wide ? expected16(request, x, y) : expected8(request, x, y);
        // A 16-bit value may deviate by three 12-bit steps because of the limited resolution of the
        // exposure time and the truncation errors of a sum. An 8-bit average may be rounded to
        // either side of a step.
        const int tolerance = wide ? 48 : (request.bin > 1 && request.hardwareBin ? 1 : 0);
        if (std::abs(value - expected) > tolerance && ++wrong <= 5) {
          ADD_FAILURE() << "at " << x << "," << y << ": " << value << ", not " << expected;
        }
      }
    }
    ASSERT_EQ(wrong, 0);
  }
}

TEST_F(FramesTest, ColoursStayTrueInEveryFlipBinAndRegion) {
  // In the 8-bit samples of this sensor's mosaic, red is 40, green 25 and blue 10. The top left
  // sample is red.
  plug(std::make_shared<CodedScene>([](int x, int y) {
    if (x % 2 != y % 2) return 25;
    return x % 2 == 0 ? 40 : 10;
  }));
  for (int bin = 1; bin <= 2; ++bin) {
    for (const bool hardware : {true, false}) {
      for (int flips = 0; flips < 4; ++flips) {
        Request request{96,  62, bin, hardware, IMAGE_RGB24, (flips & 1) != 0, (flips & 2) != 0,
                        204, 98};
        SCOPED_TRACE(describe(request));
        const int factor = hardware ? 1 : bin * bin;
        const auto rgb = take(request, 96 * 62 * 3, false);
        for (std::size_t i = 0; i < rgb.size(); i += 3) {
          ASSERT_EQ(rgb[i], 10 * factor) << "blue of pixel " << i / 3;
          ASSERT_EQ(rgb[i + 1], 25 * factor) << "green of pixel " << i / 3;
          ASSERT_EQ(rgb[i + 2], 40 * factor) << "red of pixel " << i / 3;
        }
        request.type = IMAGE_8BIT;
        const auto grey = take(request, 96 * 62, false);
        const int luminance = static_cast<int>(factor * (0.257 * 10 + 0.504 * 25 + 0.098 * 40));
        EXPECT_TRUE(std::ranges::all_of(grey, [&](int v) { return std::abs(v - luminance) <= 1; }));
      }
    }
  }
}

TEST_F(FramesTest, EveryTypeShowsTheSameFrame) {
  plug(std::make_shared<CodedScene>());
  for (const bool flipped : {false, true}) {
    constexpr int kWidth = 320;
    constexpr int kHeight = 98;
    constexpr std::size_t kPixels = kWidth * kHeight;
    Request request{kWidth, kHeight, 1, true, IMAGE_RGB24, flipped, flipped, 204, 100};
    const auto colour = take(request, 3 * kPixels, false);

    request.type = IMAGE_8BIT;
    std::vector<std::uint8_t> expected(kPixels);
    luminance(colour.data(), expected.data(), kWidth, kHeight);
    EXPECT_EQ(take(request, kPixels, false), expected) << "luminance";

    request.type = IMAGE_YUV422;
    expected.resize(2 * kPixels);
    yuv422(colour.data(), expected.data(), kWidth, kHeight, true);
    EXPECT_EQ(take(request, 2 * kPixels, false), expected) << "4:2:2, bottom row first";

    request.type = IMAGE_RAW16;
    const auto wide = take(request, 2 * kPixels);
    std::vector<std::uint16_t> samples(kPixels);
    std::memcpy(samples.data(), wide.data(), wide.size());
    request.type = IMAGE_GREY30;
    expected.resize(4 * kPixels);
    grey10(samples.data(), expected.data(), kPixels);
    EXPECT_EQ(take(request, 4 * kPixels), expected) << "grey in 10 bits";
  }
}

TEST_F(FramesTest, GammaLeavesFiftyAloneAndBendsOtherwise) {
  plug(std::make_shared<CodedScene>([](int, int) { return 60; }));
  const Request request{64, 64, 1, true, IMAGE_8BIT, false, false, 0, 0};
  EXPECT_EQ(take(request, 64 * 64)[2000], 60);
  camera_.setGamma(100);
  EXPECT_EQ(take(request, 64 * 64)[2000], std::lround(255 * std::sqrt(60 / 255.0)));
  const Request wide{64, 64, 1, true, IMAGE_RAW16, false, false, 0, 0};
  const auto image = take(wide, 64 * 64 * 2);
  const int value = image[4000] | image[4001] << 8;
  EXPECT_NEAR(value, 65535 * std::sqrt((60 * 16 + 8) * 16 / 65535.0), 120);
  camera_.setGamma(50);
  EXPECT_EQ(take(request, 64 * 64)[2000], 60);
}

TEST_F(FramesTest, AnImageIsNeverLargerThanItsBuffer) {
  plug(std::make_shared<CodedScene>());
  const Request request{64, 64, 1, true, IMAGE_8BIT, false, false, 0, 0};
  take(request, 64 * 64);
  ASSERT_TRUE(camera_.startCapture(false));
  std::vector<std::uint8_t> image(200, 0xEE);
  EXPECT_FALSE(takeImage(camera_, std::span(image).first(100)));
  ASSERT_TRUE(camera_.setResolution(64, 64, 1, IMAGE_RGB24));
  EXPECT_FALSE(takeImage(camera_, std::span(image).first(100)));
  EXPECT_TRUE(std::all_of(image.begin(), image.end(), [](int v) { return v == 0xEE; }));
}

}  // namespace
}  // namespace orvik::test
