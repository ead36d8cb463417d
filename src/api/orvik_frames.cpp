// SPDX-License-Identifier: MIT
// The flat function that describes a delivered image.
#include <cstdint>

#include "api/guard.h"
#include "orvik/orvik_service.h"

using orvik::DeliveredImage;
using orvik::FrameFacts;
using orvik::OpenCamera;
using orvik::api::withCamera;

namespace {

Orvik_FRAME_INFO publicInfo(const DeliveredImage& image) {
  const FrameFacts& facts = image.facts;
  const bool measured = facts.temperature.has_value();
  return {
      .capture = static_cast<std::int64_t>(facts.capture),
      .number = static_cast<std::int64_t>(facts.number),
      .lostBefore = facts.lostBefore,
      .exposureStart = facts.exposureStart.count(),
      .exposureEnd = facts.exposureEnd.count(),
      .firstByte = facts.firstByte.count(),
      .lastByte = facts.lastByte.count(),
      .uncertainty = facts.uncertainty.count(),
      .utcOffset = facts.utcOffset.count(),
      .exposureUs = static_cast<std::int64_t>(facts.settings.exposureUs),
      .width = image.format.width,
      .height = image.format.height,
      .bin = image.format.bin,
      .type = orvik::publicTypeOf(image.format.type, image.format.rawOutput),
      .startX = facts.settings.startX,
      .startY = facts.settings.startY,
      .flip = (image.flipHorizontal ? 1 : 0) + (image.flipVertical ? 2 : 0),
      .gain = facts.settings.gain,
      .blackLevel = facts.settings.brightness,
      .temperature = measured ? static_cast<int>(*facts.temperature * 10) : ORVIK_NO_TEMPERATURE,
      .snapshot = facts.snapshot ? Orvik_TRUE : Orvik_FALSE,
      .settled = facts.isSettled ? Orvik_TRUE : Orvik_FALSE,
  };
}

}  // namespace

Orvik_ERROR_CODE OrvikGetFrameInfo(int index, Orvik_FRAME_INFO* info) {
  return withCamera(index, Orvik_ERROR_NO_FRAME, [&](OpenCamera& camera) {
    if (info == nullptr) return Orvik_ERROR_ARGUMENT;
    const auto image = camera.driver->lastImage();
    if (!image) return Orvik_ERROR_NO_FRAME;
    *info = publicInfo(*image);
    return Orvik_OK;
  });
}
