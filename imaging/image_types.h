// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>
#include <vector>

#include "orvik/orvik.h"

namespace orvik::imaging {

/// What programs know of an image type beyond its size. Names and file formats follow from it.
struct ImageType {
  std::string_view name = "?";  ///< as users write it
  int bitsPerSample = 8;        ///< 16-bit samples are little-endian
  bool isColour = false;        ///< three samples a pixel, blue, green, red; otherwise one
  bool isRaw = false;           ///< the sensor's pixels: a mosaic, if the camera is a colour camera
};

/// The table of image types. A switch, so that the compiler names a type that has no row.
constexpr ImageType imageType(IMG_TYPE type) {
  switch (type) {
    case Orvik_IMG_RAW8:
      return {.name = "raw8", .isRaw = true};
    case Orvik_IMG_RGB24:
      return {.name = "rgb24", .isColour = true};
    case Orvik_IMG_RAW16:
      return {.name = "raw16", .bitsPerSample = 16, .isRaw = true};
    case Orvik_IMG_Y8:
      return {.name = "y8"};
    case Orvik_IMG_END:
      break;
  }
  return {};
}

/// The names of all image types, in the order of their numbers, which have no gaps.
inline std::vector<std::string_view> imageTypeNames() {
  std::vector<std::string_view> names;
  for (int number = 0; imageType(IMG_TYPE{number}).name != ImageType{}.name; ++number) {
    names.push_back(imageType(IMG_TYPE{number}).name);
  }
  return names;
}

}  // namespace orvik::imaging
