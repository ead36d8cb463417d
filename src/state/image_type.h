// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "orvik/class_types.h"
#include "orvik/orvik.h"

namespace orvik {

/// The properties of an image type. FrameDelivery::convert() makes its images.
struct ImageTypeRow {
  IMAGE_TYPE type;
  std::uint8_t bytesPerPixel;
  bool is16Bits;  ///< made from 16-bit samples
  bool carriesTimeMark;
  IMG_TYPE publicType;     ///< of the flat interface; Orvik_IMG_END for none
  IMG_TYPE publicRawType;  ///< the same with raw output; Orvik_IMG_END if that makes no difference
};

/// All image types, indexed by number.
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

/// The representation of a public image type in the drivers.
struct DriverType {
  IMAGE_TYPE type;
  bool rawOutput;
};

/// @return nothing for a number that is no public image type.
constexpr std::optional<DriverType> driverTypeOf(int publicType) {
  if (publicType < 0) return std::nullopt;
  for (const ImageTypeRow& row : kImageTypes) {
    if (row.publicRawType == publicType) return DriverType{row.type, true};
    if (row.publicType == publicType) return DriverType{row.type, false};
  }
  return std::nullopt;
}

/// The public image type for a type of the drivers. Types that only the camera classes can set are
/// reported as Y8.
constexpr IMG_TYPE publicTypeOf(IMAGE_TYPE type, bool rawOutput) {
  const ImageTypeRow& row = rowOf(type);
  if (row.publicType == Orvik_IMG_END) return Orvik_IMG_Y8;
  return rawOutput && row.publicRawType != Orvik_IMG_END ? row.publicRawType : row.publicType;
}

namespace detail {
/// Makes the compilation fail if an image type has no case here or no row.
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
