// SPDX-License-Identifier: MIT
#include "integrations/server/alpaca/subframe.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "integrations/server/alpaca/transpose.h"

namespace orvik::server {
namespace {

/// A sensor with a value of its own for each pixel, and what the camera delivers of it.
template <typename Sample>
class Sensor {
 public:
  Sensor(int width, int height, bool isColour, int flip) : isColour_(isColour), flip_(flip) {
    info_.maxWidth = width;
    info_.maxHeight = height;
    info_.colour = isColour ? Orvik_TRUE : Orvik_FALSE;
    std::minstd_rand random(7);
    pixels_.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    for (Sample& pixel : pixels_) pixel = static_cast<Sample>(random() % (kMax + 1));
  }

  [[nodiscard]] const Orvik_CAMERA_INFO& info() const { return info_; }

  /// A pixel of the flipped image of the whole sensor; beyond its edge, the last of its colour.
  [[nodiscard]] std::uint32_t at(int x, int y) const {
    const auto inside = [&](int at, int size) {
      while (at >= size) at -= isColour_ ? 2 : 1;
      return at;
    };
    x = inside(x, info_.maxWidth);
    y = inside(y, info_.maxHeight);
    if ((flip_ & 1) != 0) x = info_.maxWidth - 1 - x;
    if ((flip_ & 2) != 0) y = info_.maxHeight - 1 - y;
    return raw(x, y);
  }

  /// What the camera delivers at bin 1 of a region, flipped within it.
  [[nodiscard]] std::vector<Sample> deliver(const ImageFormat& format) const {
    std::vector<Sample> image;
    for (int row = 0; row < format.height; ++row) {
      for (int column = 0; column < format.width; ++column) {
        const int x = (flip_ & 1) != 0 ? format.width - 1 - column : column;
        const int y = (flip_ & 2) != 0 ? format.height - 1 - row : row;
        image.push_back(static_cast<Sample>(raw(format.startX + x, format.startY + y)));
      }
    }
    return image;
  }

  /// The pixel of the whole image at a bin.
  [[nodiscard]] std::uint32_t binned(int bin, int x, int y) const {
    const auto first = [&](int at) { return isColour_ ? at / 2 * 2 * bin + at % 2 : at * bin; };
    const int step = isColour_ ? 2 : 1;
    const auto area = static_cast<std::uint32_t>(bin * bin);
    std::uint32_t sum = 0;
    for (int j = 0; j < bin; ++j) {
      for (int i = 0; i < bin; ++i) {
        const std::uint32_t sample = at(first(x) + step * i, first(y) + step * j);
        sum += kMax > 255 && isColour_ ? sample / area : sample;
      }
    }
    if (bin == 1) return sum;
    if (kMax == 255) return std::min<std::uint32_t>(sum, 255);
    return isColour_ ? sum : sum / area;
  }

 private:
  static constexpr std::uint32_t kMax = std::numeric_limits<Sample>::max();
  [[nodiscard]] std::uint32_t raw(int x, int y) const {
    return pixels_.at(static_cast<std::size_t>(y) * static_cast<std::size_t>(info_.maxWidth) +
                      static_cast<std::size_t>(x));
  }

  Orvik_CAMERA_INFO info_{};
  bool isColour_;
  int flip_;
  std::vector<Sample> pixels_;
};

template <typename Sample>
void expectSubframe(const Sensor<Sample>& sensor, const Subframe& part, int flip) {
  SCOPED_TRACE(testing::Message() << "bin " << part.bin << ", " << part.numX << " x " << part.numY
                                  << " at " << part.startX << ", " << part.startY << ", flip "
                                  << flip << ", " << 8 * sizeof(Sample) << " bit");
  const IMG_TYPE type = sizeof(Sample) == 2 ? Orvik_IMG_RAW16 : Orvik_IMG_RAW8;
  const bool isColour = sensor.info().colour == Orvik_TRUE;
  const CapturePlan plan = planCapture(part, type, flip, sensor.info());
  // What the library delivers.
  ASSERT_TRUE(plan.format.width % 4 == 0 && plan.format.height % 2 == 0);
  ASSERT_TRUE(plan.format.width > 0 && plan.format.height > 0);
  ASSERT_TRUE(plan.format.startX * plan.format.bin % 4 == 0);
  ASSERT_TRUE(plan.format.startY * plan.format.bin % 2 == 0);
  ASSERT_TRUE(isOnSensor({plan.format.bin, plan.format.startX, plan.format.startY,
                          plan.format.width, plan.format.height},
                         sensor.info().maxWidth, sensor.info().maxHeight));
  if (plan.format.bin > 1) {
    ASSERT_EQ(flip, 0);
    const Subframe asked{plan.format.bin, plan.format.startX, plan.format.startY, plan.format.width,
                         plan.format.height};
    ASSERT_EQ(asked, part);
    return;
  }
  // No more of the sensor than is needed, up to the steps of the camera.
  const int cell = part.bin > 1 && isColour ? 2 * part.bin : part.bin;
  ASSERT_LE(plan.format.width, part.numX * part.bin + 2 * cell + 6);
  ASSERT_LE(plan.format.height, part.numY * part.bin + 2 * cell + 2);

  const auto delivered = sensor.deliver(plan.format);
  std::vector<std::uint8_t> memory(plan.bytes());
  std::memcpy(memory.data(), delivered.data(), delivered.size() * sizeof(Sample));
  const Cut cut = binOnHost(plan, isColour, memory);
  std::vector<Sample> image(static_cast<std::size_t>(part.numX * part.numY));
  transpose(reinterpret_cast<const Sample*>(memory.data()) + cut.first, cut.stride,
            static_cast<std::size_t>(part.numX), static_cast<std::size_t>(part.numY), image.data());
  std::vector<Sample> wanted;
  for (int x = 0; x < part.numX; ++x) {
    for (int y = 0; y < part.numY; ++y) {
      wanted.push_back(
          static_cast<Sample>(sensor.binned(part.bin, part.startX + x, part.startY + y)));
    }
  }
  ASSERT_TRUE(image == wanted);
}

template <typename Sample>
void expectAllSubframes() {
  constexpr int kWidth = 52;
  constexpr int kHeight = 46;
  std::minstd_rand random(3);
  const auto any = [&random](int below) {
    return static_cast<int>(random() % static_cast<unsigned>(below));
  };
  for (const bool isColour : {false, true}) {
    for (const int flip : {0, 1, 2, 3}) {
      const Sensor<Sample> sensor(kWidth, kHeight, isColour, flip);
      for (const int bin : {1, 2, 3, 4}) {
        const int width = kWidth / bin;
        const int height = kHeight / bin;
        expectSubframe(sensor, {bin, 0, 0, width, height}, flip);
        expectSubframe(sensor, {bin, width - 1, height - 1, 1, 1}, flip);
        for (int n = 0; n < 60; ++n) {
          const int x = any(width);
          const int y = any(height);
          expectSubframe(sensor, {bin, x, y, 1 + any(width - x), 1 + any(height - y)}, flip);
        }
      }
    }
  }
}

TEST(Subframe, IsTheSameCutOfTheWholeImageAndBinnedByTheRule) {
  expectAllSubframes<std::uint16_t>();
  expectAllSubframes<std::uint8_t>();
}

TEST(Subframe, IsOnTheSensorWithAllItsPixels) {
  constexpr int kMost = std::numeric_limits<int>::max();
  constexpr int kLeast = std::numeric_limits<int>::min();
  EXPECT_TRUE(isOnSensor({3, 0, 0, 434, 325}, 1304, 976));
  EXPECT_TRUE(isOnSensor({1, 1303, 975, 1, 1}, 1304, 976));
  for (const Subframe& part :
       {Subframe{3, 0, 0, 435, 325}, Subframe{3, 0, 0, 434, 326}, Subframe{1, -1, 0, 8, 8},
        Subframe{1, 0, -1, 8, 8}, Subframe{1, 0, 0, 0, 8}, Subframe{1, 0, 0, 8, 0},
        Subframe{1, kMost, 0, kMost, 8}, Subframe{1, 0, 1, 8, kMost},
        Subframe{1, 0, kLeast, 8, kMost}, Subframe{1, 0, 0, kLeast, 8}}) {
    EXPECT_FALSE(isOnSensor(part, 1304, 976));
  }
}

template <typename Sample>
void expectTransposed(std::size_t width, std::size_t height, std::size_t stride) {
  constexpr Sample kGuard = 77;
  std::minstd_rand random(5);
  std::vector<Sample> in(stride * height);
  for (Sample& sample : in) sample = static_cast<Sample>(random());
  std::vector<Sample> out(width * height + 1, kGuard);
  transpose(in.data(), stride, width, height, out.data());
  for (std::size_t x = 0; x < width; ++x) {
    for (std::size_t y = 0; y < height; ++y) {
      ASSERT_EQ(out[x * height + y], in[y * stride + x]) << width << " x " << height << " at " << x;
    }
  }
  ASSERT_EQ(out.back(), kGuard);
}

TEST(Transpose, MovesEachSampleToItsPlaceWhateverTheSize) {
  for (const std::size_t width : {1U, 2U, 7U, 8U, 17U, 64U, 65U, 130U}) {
    for (const std::size_t height : {1U, 3U, 8U, 15U, 16U, 127U, 128U, 131U, 300U}) {
      expectTransposed<std::uint8_t>(width, height, width + 5);
      expectTransposed<std::uint16_t>(width, height, width + (height % 3));
    }
  }
}

}  // namespace
}  // namespace orvik::server
