// SPDX-License-Identifier: MIT
#include "tools/orvikctl/output/image.h"

#include <stdexcept>

namespace orvik::ctl {

void requireWhole(const Image& image) {
  const ImageInfo& info = image.info;
  if (info.width < 1 || info.height < 1 ||
      image.pixels.size() != imageBytes(info.width, info.height, info.type)) {
    throw std::invalid_argument("the pixels of an image do not fit its size");
  }
}

}  // namespace orvik::ctl
