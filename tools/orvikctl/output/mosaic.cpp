// SPDX-License-Identifier: MIT
#include "tools/orvikctl/output/mosaic.h"

namespace orvik::ctl {
BayerPattern deliveredMosaic(const MosaicCut& cut) {
  // A binned region begins on a whole 2 x 2 cell of the sensor. Its start is counted in binned
  // pixels and rounded, so that it does not show whether the sensor column is odd.
  int column = cut.bin == 1 ? cut.startX : 0;
  int row = cut.bin == 1 ? cut.startY : 0;
  if (cut.flipHorizontal) column += cut.width - 1;
  if (cut.flipVertical) row += cut.height - 1;
  const Mosaic sensor = mosaic(cut.sensor);
  column = (sensor.redColumn + column) % 2;
  row = (sensor.redRow + row) % 2;
  for (const BayerPattern pattern : {BAYER_BG, BAYER_GR, BAYER_GB}) {
    const Mosaic candidate = mosaic(pattern);
    if (candidate.redColumn == column && candidate.redRow == row) return pattern;
  }
  return BAYER_RG;
}

}  // namespace orvik::ctl
