// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "imaging/image_types.h"
#include "imaging/processing.h"
#include "orvik/orvik.hpp"

namespace orvik::imaging {

/// What the header of an image file says about the image.
struct ImageInfo {
  std::string instrument;  ///< display name of the camera; empty for no exposure of a camera
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

  int flip = 0;  ///< in the values of #Orvik_CTL_FLIP
  Processing processing;

  std::string frameKind = "Light Frame";  ///< FITS IMAGETYP
  std::string filter;                     ///< in front of the sensor; may be empty
  std::string object;                     ///< what the picture shows; may be empty
  std::string observer;                   ///< may be empty
  std::string telescope;                  ///< may be empty
  std::string software;                   ///< name and version of the program; may be empty
};

/// One image as delivered: packed rows, top row first. Does not own its pixels.
struct Image {
  ImageInfo info;
  std::span<const std::uint8_t> pixels;
};

/// Takes over what the library knows of an image. A temperature that it does not know is left out:
/// an older reading would be that of another moment.
void describe(ImageInfo& image, const Orvik_CAMERA_INFO& camera, const FrameInfo& info);

/// Throws std::invalid_argument unless the image's pixels are as many as its size says.
void requireWhole(const Image& image);

}  // namespace orvik::imaging
