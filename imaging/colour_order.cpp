// SPDX-License-Identifier: MIT
#include "imaging/colour_order.h"

#include <utility>

namespace orvik::imaging {

std::vector<std::uint8_t> planesOf(std::span<const std::uint8_t> bgr) {
  const std::size_t count = bgr.size() / 3;
  std::vector<std::uint8_t> planes(3 * count);
  for (std::size_t i = 0; i < 3; ++i) {
    takeChannel(bgr, 2 - i, std::span(planes).subspan(i * count, count));
  }
  return planes;
}

void takeChannel(std::span<const std::uint8_t> bgr, std::size_t channel,
                 std::span<std::uint8_t> plane) {
  for (std::size_t i = 0; i < plane.size(); ++i) plane[i] = bgr[3 * i + channel];
}

void swapBlueAndRed(std::span<std::uint8_t> pixels) {
  for (std::size_t i = 0; i + 2 < pixels.size(); i += 3) std::swap(pixels[i], pixels[i + 2]);
}

}  // namespace orvik::imaging
