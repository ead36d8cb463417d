// SPDX-License-Identifier: MIT
#include "imaging/image.h"

#include <algorithm>
#include <stdexcept>

namespace orvik::imaging {

void describe(ImageInfo& image, const Orvik_CAMERA_INFO& camera, const FrameInfo& info) {
  image.instrument = camera.name;
  image.width = info.width;
  image.height = info.height;
  image.type = info.type;
  image.mosaic = imageMosaic(camera, info);
  image.bin = info.bin;
  image.pixelSizeUm = camera.pixelSizeUm;
  image.startX = info.startX / std::max(info.bin, 1);
  image.startY = info.startY / std::max(info.bin, 1);
  image.start = info.start();
  image.exposure = info.exposure();
  image.gain = info.gain;
  image.flip = info.flip;
  if (image.offset) image.offset = info.blackLevel;
  image.sensorTemperature = info.celsius();
}

void requireWhole(const Image& image) {
  const ImageInfo& info = image.info;
  if (info.width < 1 || info.height < 1 ||
      image.pixels.size() != imageBytes(info.width, info.height, info.type)) {
    throw std::invalid_argument("the pixels of an image do not fit its size");
  }
}

}  // namespace orvik::imaging
