// SPDX-License-Identifier: MIT
#pragma once

#include <bit>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "orvik/orvik_service.h"
#include "tools/orvikctl/image_types.h"

namespace orvik::ctl {

// 16-bit samples are delivered little-endian, and the writers hand them on as native words.
static_assert(std::endian::native == std::endian::little);

/// What the header of an image file says about the image.
struct ImageInfo {
  std::string instrument;  ///< display name of the camera
  int width = 0;           ///< pixels after binning
  int height = 0;          ///< pixels after binning
  IMG_TYPE type = Orvik_IMG_RAW8;
  std::optional<BayerPattern> mosaic;  ///< colours of the image's own top left 2 x 2 pixels
  int bin = 1;
  double pixelSizeUm = 0;  ///< pixel pitch of the sensor, unbinned, micrometres
  int startX = 0;          ///< left edge of the region on the sensor, pixels after binning
  int startY = 0;          ///< top edge of the region on the sensor, pixels after binning

  std::chrono::system_clock::time_point start;  ///< start of the exposure
  std::chrono::microseconds exposure{0};
  int gain = 0;
  std::optional<int> offset;
  std::optional<double> sensorTemperature;  ///< degrees Celsius
  std::optional<double> targetTemperature;  ///< degrees Celsius; while a cooler holds it

  std::string frameKind = "Light Frame";  ///< FITS IMAGETYP
  std::string object;                     ///< what the picture shows; may be empty
  std::string observer;                   ///< may be empty
  std::string telescope;                  ///< may be empty
};

/// One image as delivered: packed rows, top row first. Does not own its pixels.
struct Image {
  ImageInfo info;
  std::span<const std::uint8_t> pixels;
};

/// When the exposure of an image began.
inline std::chrono::system_clock::time_point exposureStart(const Orvik_FRAME_INFO& info) {
  const std::chrono::nanoseconds sinceEpoch(info.exposureStart + info.utcOffset);
  return std::chrono::system_clock::time_point(
      std::chrono::duration_cast<std::chrono::system_clock::duration>(sinceEpoch));
}

/// Takes over what the library knows of an image. A temperature that it does not know is left out:
/// an older reading would be that of another moment.
void describe(ImageInfo& image, const Orvik_FRAME_INFO& info);

/// Throws std::invalid_argument unless the image's pixels are as many as its size says.
void requireWhole(const Image& image);

}  // namespace orvik::ctl
