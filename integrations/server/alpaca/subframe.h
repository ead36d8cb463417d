// SPDX-License-Identifier: MIT
// Which region of the sensor to capture for a subframe, and what to do with it.
//
// Clients may ask for any whole number of binned pixels anywhere on the sensor. The library
// delivers widths that are multiples of 4 and even heights, at starts that are multiples of 4 and 2
// sensor pixels. What it cannot deliver is captured as the smallest such region at bin 1 around the
// subframe; the server then cuts it out, or bins it as the library would.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "orvik/orvik.hpp"

namespace orvik::server {

/// A part of the image in binned pixels, counted from the corner of the image.
struct Subframe {
  int bin = 1;
  int startX = 0;
  int startY = 0;
  int numX = 0;
  int numY = 0;
  friend bool operator==(const Subframe&, const Subframe&) = default;
};

/// Whether it lies on a sensor of this size. Any numbers; `bin` is at least 1.
bool isOnSensor(const Subframe& subframe, int width, int height);

struct CapturePlan {
  ImageFormat format;  ///< what the camera is to deliver

  // What follows counts samples of the delivered image.
  int cutX = 0;  ///< where the cells begin, or the subframe itself if the server does not bin
  int cutY = 0;
  int hostBin = 1;  ///< the factor by which the server bins
  /// The cells that are binned, in samples. In a mosaic these are whole pairs of pixels, so that
  /// they may reach beyond the sensor.
  int cellWidth = 0;
  int cellHeight = 0;
  // Where the subframe lies in the binned cells.
  int left = 0;
  int top = 0;

  /// Memory for the delivered image and for the cells that are made from it in the same place.
  [[nodiscard]] std::size_t bytes() const;
};

/// Plans the capture of a subframe that lies on the sensor.
///
/// @param flip in the values of #Orvik_CTL_FLIP. The corner of the image is that of the flipped
///        image, so that a subframe is the same cut of the whole image in any case.
CapturePlan planCapture(const Subframe& subframe, IMG_TYPE type, int flip,
                        const Orvik_CAMERA_INFO& camera);

/// The part of a buffer that is the subframe: its first sample, and samples from row to row.
struct Cut {
  std::size_t first = 0;
  std::size_t stride = 0;
};

/// Bins the delivered image as planned, in its own memory.
///
/// Monochrome samples of 16 bits become the truncated mean, those of a mosaic the sum of their
/// quotients, 8-bit samples the sum up to 255. Where cells reach beyond the sensor, the last sample
/// of the same colour stands in.
///
/// @param memory of at least plan.bytes(), which begins with the delivered image
Cut binOnHost(const CapturePlan& plan, bool isColour, std::span<std::uint8_t> memory);

}  // namespace orvik::server
