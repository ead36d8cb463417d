// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

namespace orvik {

/// The number of pixels of a frame; 0 if a side is below 1.
[[nodiscard]] constexpr std::size_t pixelCount(int width, int height) noexcept {
  if (width < 1 || height < 1) return 0;
  return static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
}

}  // namespace orvik
