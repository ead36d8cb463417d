// SPDX-License-Identifier: MIT
#include "algorithm/flip.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "algorithm/vectors/mirror_run.h"

namespace orvik {
namespace {

/// Swaps `count` samples from `front` upwards with as many from before `backEnd` downwards. The two
/// ranges do not overlap.
template <typename Sample>
void swapMirrored(Sample* front, Sample* backEnd, std::ptrdiff_t count) {
  auto i =
      static_cast<std::ptrdiff_t>(swapMirroredRun(front, backEnd, static_cast<std::size_t>(count)));
  for (; i < count; ++i) std::swap(front[i], backEnd[-1 - i]);
}

template <typename Sample>
void flipFrame(Sample* image, std::ptrdiff_t width, std::ptrdiff_t height, bool vertical,
               bool horizontal) {
  if (width < 1 || height < 1) return;
  if (horizontal) {
    for (std::ptrdiff_t row = 0; row < height; ++row) {
      // Only the left half of each row is walked; over all rows it meets every right half once.
      const std::ptrdiff_t mirror = vertical ? height - 1 - row : row;
      swapMirrored(image + row * width, image + (mirror + 1) * width, width / 2);
    }
  } else if (vertical) {
    for (std::ptrdiff_t row = 0; row < height / 2; ++row) {
      Sample* const upper = image + row * width;
      std::swap_ranges(upper, upper + width, image + (height - 1 - row) * width);
    }
  }
}

}  // namespace

void flip(std::uint8_t* image, int width, int height, bool vertical, bool horizontal) noexcept {
  flipFrame(image, width, height, vertical, horizontal);
}

void flip(std::uint16_t* image, int width, int height, bool vertical, bool horizontal) noexcept {
  flipFrame(image, width, height, vertical, horizontal);
}

}  // namespace orvik
