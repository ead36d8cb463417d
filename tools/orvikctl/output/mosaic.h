// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

#include "orvik/orvik.h"

namespace orvik::ctl {

/// How a raw image was cut out of the colour mosaic of its sensor.
struct MosaicCut {
  BayerPattern sensor = BAYER_RG;  ///< colours at the sensor's top left
  int startX = 0;                  ///< left edge of the region, pixels after binning
  int startY = 0;                  ///< top edge of the region, pixels after binning
  int width = 0;                   ///< of the delivered image, pixels
  int height = 0;                  ///< of the delivered image, pixels
  int bin = 1;
  bool flipHorizontal = false;
  bool flipVertical = false;
};

/// The colours of the top left cell of the delivered image.
///
/// An odd start shifts the pattern by a column or row; a flip brings the last column or row to the
/// front. Binning adds pixels of like colour and keeps the order of the colours.
BayerPattern deliveredMosaic(const MosaicCut& cut);

/// The four colours row by row: "RGGB", "BGGR", "GRBG" or "GBRG".
std::string_view mosaicName(BayerPattern pattern);

}  // namespace orvik::ctl
