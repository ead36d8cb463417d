// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string_view>

#include "orvik/orvik.h"

namespace orvik::ctl {

/// All that the program knows of a mosaic: its name in file headers, and where its colours are.
struct Mosaic {
  std::string_view name = "RGGB";  ///< the 2 x 2 cell row by row
  int redColumn = 0;               ///< of red in the cell; green fills the other diagonal
  int redRow = 0;
  std::int32_t serColourId = 8;
};

/// The table of mosaics. A switch, so that the compiler names a pattern that has no row.
constexpr Mosaic mosaic(BayerPattern pattern) {
  switch (pattern) {
    case BAYER_BG:
      return {.name = "BGGR", .redColumn = 1, .redRow = 1, .serColourId = 11};
    case BAYER_GR:
      return {.name = "GRBG", .redColumn = 1, .redRow = 0, .serColourId = 9};
    case BAYER_GB:
      return {.name = "GBRG", .redColumn = 0, .redRow = 1, .serColourId = 10};
    case BAYER_RG:
      break;
  }
  return {};
}

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

}  // namespace orvik::ctl
