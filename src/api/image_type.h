// SPDX-License-Identifier: MIT
#pragma once

#include "camera/capture/frame_format.h"
#include "orvik/orvik.h"

namespace orvik::api {

/// The public image type of images of a format.
inline IMG_TYPE publicImageType(const FrameFormat& format) {
  switch (format.type) {
    case IMAGE_8BIT:
      return format.rawOutput ? Orvik_IMG_RAW8 : Orvik_IMG_Y8;
    case IMAGE_RGB24:
      return Orvik_IMG_RGB24;
    case IMAGE_RAW16:
      return Orvik_IMG_RAW16;
    default:  // of the class interface only
      return Orvik_IMG_Y8;
  }
}

}  // namespace orvik::api
