// SPDX-License-Identifier: MIT
#include "tools/orvikctl/output/mosaic.h"

namespace orvik::ctl {
namespace {

// Where red stands in the 2 x 2 cell; green fills the other diagonal.
struct RedCorner {
  int column;
  int row;
};

RedCorner redCornerOf(BayerPattern pattern) {
  switch (pattern) {
    case BAYER_BG:
      return {1, 1};
    case BAYER_GR:
      return {1, 0};
    case BAYER_GB:
      return {0, 1};
    case BAYER_RG:
      break;
  }
  return {0, 0};
}

BayerPattern patternOf(RedCorner red) {
  if (red.row == 0) return red.column == 0 ? BAYER_RG : BAYER_GR;
  return red.column == 0 ? BAYER_GB : BAYER_BG;
}

}  // namespace

BayerPattern deliveredMosaic(const MosaicCut& cut) {
  // A binned region begins on a whole cell of the sensor; its start, counted in binned pixels and
  // rounded, no longer tells the sensor column, so its parity says nothing.
  int column = cut.bin == 1 ? cut.startX : 0;
  int row = cut.bin == 1 ? cut.startY : 0;
  if (cut.flipHorizontal) column += cut.width - 1;
  if (cut.flipVertical) row += cut.height - 1;
  const RedCorner red = redCornerOf(cut.sensor);
  return patternOf({(red.column + column) % 2, (red.row + row) % 2});
}

std::string_view mosaicName(BayerPattern pattern) {
  switch (pattern) {
    case BAYER_BG:
      return "BGGR";
    case BAYER_GR:
      return "GRBG";
    case BAYER_GB:
      return "GBRG";
    case BAYER_RG:
      break;
  }
  return "RGGB";
}

}  // namespace orvik::ctl
