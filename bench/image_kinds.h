// SPDX-License-Identifier: MIT
/// The image types whose roads are measured, in the size of a guide camera.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "orvik/orvik.h"

namespace orvik::bench {

inline constexpr int kWidth = 1304;
inline constexpr int kHeight = 976;
inline constexpr std::size_t kPixels = std::size_t{kWidth} * kHeight;

struct ImageKind {
  const char* name;
  IMG_TYPE type;
  std::size_t bytesPerPixel;

  [[nodiscard]] std::size_t bytes() const { return kPixels * bytesPerPixel; }
  /// Bytes of the frame that comes from the camera.
  [[nodiscard]] std::size_t frameBytes() const {
    return kPixels * (type == Orvik_IMG_RAW16 ? 2 : 1);
  }
  [[nodiscard]] bool isRaw() const { return type == Orvik_IMG_RAW8 || type == Orvik_IMG_RAW16; }
};

inline constexpr std::array<ImageKind, 4> kKinds{{{"raw8", Orvik_IMG_RAW8, 1},
                                                  {"raw16", Orvik_IMG_RAW16, 2},
                                                  {"y8", Orvik_IMG_Y8, 1},
                                                  {"rgb24", Orvik_IMG_RGB24, 3}}};

/// Calls `take` with an image full of zeros and with one full of 255.
/// @param take a function that fills the image, and returns whether that went well
/// @return whether each row had other bytes then
template <class Take>
bool fillsAll(std::vector<std::uint8_t>& image, Take take) {
  const std::size_t row = image.size() / kHeight;
  for (const std::uint8_t value : {std::uint8_t{0}, std::uint8_t{255}}) {
    image.assign(image.size(), value);
    if (!take()) return false;
    const std::vector<std::uint8_t> untouched(row, value);
    for (std::size_t at = 0; at < image.size(); at += row) {
      if (std::equal(untouched.begin(), untouched.end(), &image[at])) return false;
    }
  }
  return true;
}

}  // namespace orvik::bench
