// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "orvik/class_types.h"
#include "orvik/orvik.h"

namespace orvik {

/// What an image type is. How its images are made is FrameDelivery::convert().
struct ImageTypeRow {
  IMAGE_TYPE type;
  std::uint8_t bytesPerPixel;
  bool is16Bits;  ///< made of samples of 16 bits
  bool carriesTimeMark;
  IMG_TYPE publicType;     ///< of the flat interface; Orvik_IMG_END for none
  IMG_TYPE publicRawType;  ///< the same with raw output; Orvik_IMG_END where that is no other
};

/// Every image type, found by its number.
inline constexpr std::array<ImageTypeRow, 5> kImageTypes = {{
    {IMAGE_8BIT, 1, false, true, Orvik_IMG_Y8, Orvik_IMG_RAW8},
    {IMAGE_RGB24, 3, false, true, Orvik_IMG_RGB24, Orvik_IMG_END},
    {IMAGE_YUV422, 2, false, false, Orvik_IMG_END, Orvik_IMG_END},
    {IMAGE_GREY30, 4, true, false, Orvik_IMG_END, Orvik_IMG_END},
    {IMAGE_RAW16, 2, true, false, Orvik_IMG_RAW16, Orvik_IMG_RAW16},
}};

constexpr bool isImageType(int number) {
  return number >= 0 && number < static_cast<int>(kImageTypes.size());
}

/// @param type one of IMAGE_TYPE; see isImageType()
constexpr const ImageTypeRow& rowOf(IMAGE_TYPE type) {
  return kImageTypes[static_cast<std::size_t>(type)];
}

/// A public image type as the drivers know it.
struct DriverType {
  IMAGE_TYPE type;
  bool rawOutput;
};

/// @return none for a number that is no public image type.
constexpr std::optional<DriverType> driverTypeOf(int publicType) {
  if (publicType < 0) return std::nullopt;
  for (const ImageTypeRow& row : kImageTypes) {
    if (row.publicRawType == publicType) return DriverType{row.type, true};
    if (row.publicType == publicType) return DriverType{row.type, false};
  }
  return std::nullopt;
}

/// The public image type of images that the drivers call so. Types that the flat interface does not
/// have, which only the camera classes can set, are told as Y8.
constexpr IMG_TYPE publicTypeOf(IMAGE_TYPE type, bool rawOutput) {
  const ImageTypeRow& row = rowOf(type);
  if (row.publicType == Orvik_IMG_END) return Orvik_IMG_Y8;
  return rawOutput && row.publicRawType != Orvik_IMG_END ? row.publicRawType : row.publicType;
}

namespace detail {
/// Not called: a new image type without a case here, and without a row, does not compile.
constexpr int positionOf(IMAGE_TYPE type) {
  switch (type) {
    case IMAGE_8BIT:
    case IMAGE_RGB24:
    case IMAGE_YUV422:
    case IMAGE_GREY30:
    case IMAGE_RAW16:
      return static_cast<int>(type);
  }
  return -1;
}
constexpr bool isInOrder() {
  int position = 0;
  for (const ImageTypeRow& row : kImageTypes) {
    if (positionOf(row.type) != position++) return false;
  }
  return true;
}
static_assert(isInOrder(), "an image type is found by its number");
}  // namespace detail

}  // namespace orvik
