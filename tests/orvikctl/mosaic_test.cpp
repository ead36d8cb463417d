// SPDX-License-Identifier: MIT
#include "tools/orvikctl/output/mosaic.h"

#include <string>

#include "gtest/gtest.h"

namespace orvik::ctl {
namespace {

/// The colour of a sensor pixel, from the name of its pattern.
char colourAt(const std::string& pattern, int x, int y) {
  return pattern[static_cast<std::size_t>(2 * (y % 2) + x % 2)];
}

/// Cuts the region out of a sensor pixel by pixel, mirrors it, and reads the pattern off.
std::string patternByHand(const MosaicCut& cut) {
  std::string pattern;
  for (int y = 0; y < 2; ++y) {
    for (int x = 0; x < 2; ++x) {
      const int column = cut.startX + (cut.flipHorizontal ? cut.width - 1 - x : x);
      const int row = cut.startY + (cut.flipVertical ? cut.height - 1 - y : y);
      pattern += colourAt(std::string(mosaic(cut.sensor).name), column, row);
    }
  }
  return pattern;
}

TEST(DeliveredMosaic, TellsTheColoursOfTheDeliveredPixels) {
  // Each bit is one choice: flips, parity of start and of size.
  for (const BayerPattern sensor : {BAYER_RG, BAYER_BG, BAYER_GR, BAYER_GB}) {
    for (int choice = 0; choice < 64; ++choice) {
      const MosaicCut cut{.sensor = sensor,
                          .startX = 10 + (choice & 1),
                          .startY = 20 + (choice >> 1 & 1),
                          .width = 8 + (choice >> 2 & 1),
                          .height = 6 + (choice >> 3 & 1),
                          .bin = 1,
                          .flipHorizontal = (choice & 16) != 0,
                          .flipVertical = (choice & 32) != 0};
      EXPECT_EQ(mosaic(deliveredMosaic(cut)).name, patternByHand(cut)) << sensor << ' ' << choice;
    }
  }
}

TEST(DeliveredMosaic, DoesNotTrustTheRoundedStart) {
  // Sensor column 4 counts as column 1 at bin 3.
  EXPECT_EQ(
      deliveredMosaic({.sensor = BAYER_GB, .startX = 1, .width = 432, .height = 324, .bin = 3}),
      BAYER_GB);
  EXPECT_EQ(deliveredMosaic({.sensor = BAYER_GB,
                             .startX = 1,
                             .width = 432,
                             .height = 324,
                             .bin = 3,
                             .flipHorizontal = true}),
            BAYER_BG);
}

}  // namespace
}  // namespace orvik::ctl
