// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "orvik/class_types.h"
#include "orvik/orvik.h"

namespace orvik {

/// The properties of an image type. FrameDelivery::convert() makes its images.
struct ImageTypeRow {
  std::uint8_t bytesPerPixel = 0;
  bool is16Bits = false;         ///< made from 16-bit samples
  bool carriesTimeMark = false;  ///< for types of 1 or 3 bytes a pixel
  /// In the flat interface; Orvik_IMG_END for none.
  IMG_TYPE publicType = Orvik_IMG_END;
  /// The same with raw output; Orvik_IMG_END if that makes no difference.
  IMG_TYPE publicRawType = Orvik_IMG_END;
};

/// The table of image types. A switch, so that the compiler names a type that has no row.
/// @return nothing for a number that is no image type.
constexpr std::optional<ImageTypeRow> imageTypeRow(int number) {
  switch (static_cast<IMAGE_TYPE>(number)) {
    case IMAGE_8BIT:
      return ImageTypeRow{.bytesPerPixel = 1,
                          .carriesTimeMark = true,
                          .publicType = Orvik_IMG_Y8,
                          .publicRawType = Orvik_IMG_RAW8};
    case IMAGE_RGB24:
      return ImageTypeRow{
          .bytesPerPixel = 3, .carriesTimeMark = true, .publicType = Orvik_IMG_RGB24};
    case IMAGE_YUV422:
      return ImageTypeRow{.bytesPerPixel = 2};
    case IMAGE_GREY30:
      return ImageTypeRow{.bytesPerPixel = 4, .is16Bits = true};
    case IMAGE_RAW16:
      return ImageTypeRow{.bytesPerPixel = 2,
                          .is16Bits = true,
                          .publicType = Orvik_IMG_RAW16,
                          .publicRawType = Orvik_IMG_RAW16};
  }
  return std::nullopt;
}

constexpr bool isImageType(int number) { return imageTypeRow(number).has_value(); }

/// @param type one of IMAGE_TYPE; see isImageType()
constexpr ImageTypeRow rowOf(IMAGE_TYPE type) {
  return imageTypeRow(type).value_or(ImageTypeRow{});
}

/// The representation of a public image type in the drivers.
struct DriverType {
  IMAGE_TYPE type;
  bool rawOutput;
};

/// @return nothing for a number that is no public image type.
constexpr std::optional<DriverType> driverTypeOf(int publicType) {
  if (publicType < 0) return std::nullopt;
  for (int number = 0; isImageType(number); ++number) {
    const auto type = static_cast<IMAGE_TYPE>(number);
    if (rowOf(type).publicRawType == publicType) return DriverType{type, true};
    if (rowOf(type).publicType == publicType) return DriverType{type, false};
  }
  return std::nullopt;
}

/// The public image type for a type of the drivers. Types that only the camera classes can set are
/// reported as Y8.
constexpr IMG_TYPE publicTypeOf(IMAGE_TYPE type, bool rawOutput) {
  const ImageTypeRow row = rowOf(type);
  if (row.publicType == Orvik_IMG_END) return Orvik_IMG_Y8;
  return rawOutput && row.publicRawType != Orvik_IMG_END ? row.publicRawType : row.publicType;
}

}  // namespace orvik
