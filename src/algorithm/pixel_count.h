// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

namespace orvik {

/// The pixels of a frame; none where a side is below 1.
[[nodiscard]] constexpr size_t pixelCount(int width, int height) noexcept {
  if (width < 1 || height < 1) return 0;
  return static_cast<size_t>(width) * static_cast<size_t>(height);
}

}  // namespace orvik
