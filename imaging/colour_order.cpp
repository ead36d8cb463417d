// SPDX-License-Identifier: MIT
#include "imaging/colour_order.h"

#include <cstddef>
#include <utility>

namespace orvik::imaging {

std::vector<std::uint8_t> planesOf(std::span<const std::uint8_t> bgr) {
  const std::size_t count = bgr.size() / 3;
  std::vector<std::uint8_t> planes(3 * count);
  std::uint8_t* const red = planes.data();
  std::uint8_t* const green = red + count;
  std::uint8_t* const blue = green + count;
  for (std::size_t i = 0; i < count; ++i) {
    blue[i] = bgr[3 * i];
    green[i] = bgr[3 * i + 1];
    red[i] = bgr[3 * i + 2];
  }
  return planes;
}

void swapBlueAndRed(std::span<std::uint8_t> pixels) {
  for (std::size_t i = 0; i + 2 < pixels.size(); i += 3) std::swap(pixels[i], pixels[i + 2]);
}

}  // namespace orvik::imaging
