// SPDX-License-Identifier: MIT
#include "imaging/region.h"

#include <algorithm>

namespace orvik::imaging {

std::optional<ImageFormat> formatWithin(const Region& region, int bin, IMG_TYPE type,
                                        const Orvik_CAMERA_INFO& camera) {
  const int x = std::clamp(region.x, 0, camera.maxWidth);
  const int y = std::clamp(region.y, 0, camera.maxHeight);
  const ImageFormat format{.width = std::min(region.width, camera.maxWidth - x) / bin / 4 * 4,
                           .height = std::min(region.height, camera.maxHeight - y) / bin / 2 * 2,
                           .bin = bin,
                           .type = type,
                           .startX = x / bin,
                           .startY = y / bin};
  if (format.width <= 0 || format.height <= 0) return std::nullopt;
  return format;
}

Region regionOf(const ImageFormat& format) {
  return {format.startX * format.bin, format.startY * format.bin, format.width * format.bin,
          format.height * format.bin};
}

}  // namespace orvik::imaging
