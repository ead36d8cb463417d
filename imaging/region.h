// SPDX-License-Identifier: MIT
#pragma once

#include <optional>

#include "orvik/orvik.hpp"

namespace orvik::imaging {

/// A part of the sensor in its own pixels, before binning.
struct Region {
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;
  friend bool operator==(const Region&, const Region&) = default;
};

/// The largest format that lies within a region: the width of an image has to be a multiple of 4,
/// and its height even. Empty if the region is too small for any.
std::optional<ImageFormat> formatWithin(const Region& region, int bin, IMG_TYPE type,
                                        const Orvik_CAMERA_INFO& camera);

/// The region that a format shows.
Region regionOf(const ImageFormat& format);

}  // namespace orvik::imaging
