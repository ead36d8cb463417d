// SPDX-License-Identifier: MIT
#include "imaging/mosaic.h"

#include <string>

#include "gtest/gtest.h"
#include "orvik/orvik.hpp"

namespace orvik::imaging {
namespace {

/// The colour of a sensor pixel, from the name of its pattern.
char colourAt(const std::string& pattern, int x, int y) {
  return pattern[static_cast<std::size_t>(2 * (y % 2) + x % 2)];
}

/// How a raw image was cut out of the mosaic of its sensor.
struct Cut {
  int startX = 0;
  int startY = 0;
  int width = 0;
  int height = 0;
  int flip = 0;
};

/// Cuts the region out of a sensor pixel by pixel, mirrors it, and reads the pattern off.
std::string patternByHand(BayerPattern sensor, const Cut& cut) {
  std::string pattern;
  for (int y = 0; y < 2; ++y) {
    for (int x = 0; x < 2; ++x) {
      const int column = cut.startX + ((cut.flip & 1) != 0 ? cut.width - 1 - x : x);
      const int row = cut.startY + ((cut.flip & 2) != 0 ? cut.height - 1 - y : y);
      pattern += colourAt(std::string(mosaic(sensor).name), column, row);
    }
  }
  return pattern;
}

TEST(ImageMosaic, IsThatOfTheDeliveredPixels) {
  // Each bit is one choice: flips, parity of start and of size.
  for (const BayerPattern sensor : {BAYER_RG, BAYER_BG, BAYER_GR, BAYER_GB}) {
    for (int choice = 0; choice < 64; ++choice) {
      const Cut cut{.startX = 10 + (choice & 1),
                    .startY = 20 + (choice >> 1 & 1),
                    .width = 8 + (choice >> 2 & 1),
                    .height = 6 + (choice >> 3 & 1),
                    .flip = choice >> 4};
      const BayerPattern image =
          imageMosaic(sensor, cut.flip, 1, cut.startX, cut.startY, cut.width, cut.height);
      EXPECT_EQ(mosaic(image).name, patternByHand(sensor, cut)) << sensor << ' ' << choice;
    }
  }
}

TEST(ImageMosaic, DoesNotTrustTheRoundedStartOfABinnedRegion) {
  EXPECT_EQ(imageMosaic(BAYER_GB, 0, 3, 3, 0, 432, 324), BAYER_GB);
  EXPECT_EQ(imageMosaic(BAYER_GB, 1, 3, 3, 0, 432, 324), BAYER_BG);
}

}  // namespace
}  // namespace orvik::imaging
