// SPDX-License-Identifier: MIT
#include "frame_format.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace orvik::indi {

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

const CaptureType& captureType(IMG_TYPE type) {
  static constexpr std::array<CaptureType, 4> kTypes{{
      {Orvik_IMG_RAW8, "INDI_RAW8", "RAW 8", 8},
      {Orvik_IMG_RAW16, "INDI_RAW16", "RAW 16", 16},
      {Orvik_IMG_RGB24, "INDI_RGB", "RGB 24", 8},
      {Orvik_IMG_Y8, "INDI_MONO", "Luminance 8", 8},
  }};
  const auto* const found = std::find_if(kTypes.begin(), kTypes.end(),
                                         [type](const auto& one) { return one.type == type; });
  return found == kTypes.end() ? kTypes.front() : *found;
}

const char* mosaicName(BayerPattern pattern) {
  switch (pattern) {
    case BAYER_RG:
      return "RGGB";
    case BAYER_BG:
      return "BGGR";
    case BAYER_GR:
      return "GRBG";
    case BAYER_GB:
      return "GBRG";
  }
  return "RGGB";
}

void splitPlanes(std::span<const std::uint8_t> pixels, std::vector<std::uint8_t>& planes) {
  const std::size_t count = pixels.size() / 3;
  planes.resize(count * 3);
  std::uint8_t* const red = planes.data();
  std::uint8_t* const green = red + count;
  std::uint8_t* const blue = green + count;
  for (std::size_t n = 0; n < count; ++n) {
    blue[n] = pixels[3 * n];
    green[n] = pixels[3 * n + 1];
    red[n] = pixels[3 * n + 2];
  }
}

void swapBlueAndRed(std::span<std::uint8_t> pixels) {
  for (std::size_t n = 0; n + 2 < pixels.size(); n += 3) std::swap(pixels[n], pixels[n + 2]);
}

}  // namespace orvik::indi
