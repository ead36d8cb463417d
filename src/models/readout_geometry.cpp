// SPDX-License-Identifier: MIT
#include "models/readout_geometry.h"

#include <algorithm>
#include <cstdint>

namespace orvik {
namespace {

constexpr int kColumnStep = 4;
constexpr int kRowStep = 2;

bool offersBin(const ModelRow& model, int bin) {
  for (const std::int8_t offered : model.bins) {
    if (offered < 1) return false;
    if (offered == bin) return true;
  }
  return false;
}

bool offersType(const ModelRow& model, IMAGE_TYPE type) {
  if (!isImageType(type)) return false;
  switch (type) {
    case IMAGE_8BIT:
      return model.imageTypes.raw8 || model.imageTypes.y8;
    case IMAGE_RGB24:
    case IMAGE_YUV422:
      return model.imageTypes.rgb24;
    case IMAGE_GREY30:
    case IMAGE_RAW16:
      return model.imageTypes.raw16;
  }
  return false;
}

/// `wanted` rounded down to a multiple of `step`, but not so large that `length` pixels reach
/// beyond `end`.
int fit(int wanted, int step, int length, int end) {
  const int rounded = std::max(wanted, 0) / step * step;
  return std::min(rounded, end - length);
}

}  // namespace

bool canDeliver(const ModelRow& model, int width, int height, int bin, IMAGE_TYPE type) {
  if (!offersBin(model, bin) || !offersType(model, type)) return false;
  if (width < 1 || height < 1 || width % kColumnStep != 0 || height % kRowStep != 0) return false;
  return std::int64_t{width} * bin <= model.maxWidth &&
         std::int64_t{height} * bin <= model.maxHeight;
}

SensorPosition centred(const ModelRow& model, int width, int height, int bin) {
  return {(model.maxWidth - width * bin) / 2, (model.maxHeight - height * bin) / 2};
}

SensorPosition readablePosition(const ModelRow& model, SensorPosition wanted, int width, int height,
                                int bin) {
  return {fit(wanted.x, kColumnStep, width * bin, model.maxWidth),
          fit(wanted.y, kRowStep, height * bin, model.maxHeight)};
}

}  // namespace orvik
