// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <optional>
#include <string_view>
#include <vector>

#include "orvik/orvik.hpp"

namespace orvik::indi {

/// A region in INDI's terms: sensor pixels, before binning.
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

/// The region of the sensor that a format shows.
Region regionOf(const ImageFormat& format);

/// A pixel layout as INDI shows it.
struct CaptureType {
  IMG_TYPE type;
  const char* name;
  const char* label;
  std::uint8_t bits;  ///< of a sample
};
const CaptureType& captureType(IMG_TYPE type);

/// The name of a mosaic in FITS: "RGGB".
const char* mosaicName(BayerPattern pattern);

/// Splits an image with blue, green and red in each pixel into a red, a green and a blue plane.
void splitPlanes(std::span<const std::uint8_t> pixels, std::vector<std::uint8_t>& planes);

/// Exchanges blue and red in each pixel.
void swapBlueAndRed(std::span<std::uint8_t> pixels);

}  // namespace orvik::indi
