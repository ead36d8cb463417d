// SPDX-License-Identifier: MIT
#include "sim/picture/hot_pixels.h"

#include <algorithm>
#include <cmath>
#include <tuple>

#include "sim/random.h"

namespace orvik::sim {
namespace {

constexpr int kPixelsPerHotOne = 5000;
constexpr double kWeakest = 10;  // electrons per second
constexpr double kStrongest = 3000;

}  // namespace

std::vector<HotPixel> hotPixelsOf(const SensorFormat& sensor, std::uint32_t serial) {
  Random random(0x686F740000000000U + serial);
  std::vector<HotPixel> pixels(static_cast<std::size_t>(sensor.width) *
                               static_cast<std::size_t>(sensor.height) / kPixelsPerHotOne);
  for (HotPixel& pixel : pixels) {
    pixel.x = random.below(sensor.width);
    pixel.y = random.below(sensor.height);
    const double share = std::pow(random.uniform(), 2);
    pixel.darkCurrent = static_cast<float>(kWeakest * std::pow(kStrongest / kWeakest, share));
  }
  std::ranges::sort(pixels, [](const HotPixel& a, const HotPixel& b) {
    return std::tie(a.y, a.x) < std::tie(b.y, b.x);
  });
  return pixels;
}

}  // namespace orvik::sim
