// SPDX-License-Identifier: MIT
#include "tools/orvikctl/output/image.h"

#include <stdexcept>

namespace orvik::ctl {

void describe(ImageInfo& image, const Orvik_FRAME_INFO& info) {
  image.start = exposureStart(info);
  image.exposure = std::chrono::microseconds(info.exposureUs);
  image.gain = info.gain;
  if (image.offset) image.offset = info.blackLevel;
  image.sensorTemperature.reset();
  if (info.temperature != ORVIK_NO_TEMPERATURE) image.sensorTemperature = info.temperature / 10.0;
}

void requireWhole(const Image& image) {
  const ImageInfo& info = image.info;
  if (info.width < 1 || info.height < 1 ||
      image.pixels.size() != imageBytes(info.width, info.height, info.type)) {
    throw std::invalid_argument("the pixels of an image do not fit its size");
  }
}

}  // namespace orvik::ctl
