// SPDX-License-Identifier: MIT
#include "imaging/colour_order.h"

#include <algorithm>
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

void toColourSteps(std::span<const std::uint8_t> bgr, std::span<std::uint8_t> out) {
  std::size_t i = 0;
  for (; i < std::min<std::size_t>(3, bgr.size()); ++i) out[i] = bgr[2 - i];
  for (; i + 2 < bgr.size(); i += 3) {
    out[i] = static_cast<std::uint8_t>(bgr[i + 2] - bgr[i - 1]);
    out[i + 1] = static_cast<std::uint8_t>(bgr[i + 1] - bgr[i - 2]);
    out[i + 2] = static_cast<std::uint8_t>(bgr[i] - bgr[i - 3]);
  }
}

void swapBlueAndRed(std::span<std::uint8_t> pixels) {
  for (std::size_t i = 0; i + 2 < pixels.size(); i += 3) std::swap(pixels[i], pixels[i + 2]);
}

}  // namespace orvik::imaging
