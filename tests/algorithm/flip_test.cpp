// SPDX-License-Identifier: MIT
#include "algorithm/flip.h"

#include <gtest/gtest.h>

#include "algorithm/frame.h"

namespace orvik::test {
namespace {

/// Finds the source of each sample (x, y), one sample at a time.
template <typename Sample>
std::vector<Sample> flipped(const Frame<Sample>& image, Size size, bool vertical, bool horizontal) {
  std::vector<Sample> out;
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      // A flip in both directions leaves the middle column of an odd width unchanged.
      const bool stays = vertical && horizontal && 2 * x + 1 == size.width;
      const int fromX = horizontal ? size.width - 1 - x : x;
      const int fromY = vertical && !stays ? size.height - 1 - y : y;
      out.push_back(image[static_cast<size_t>(fromY * size.width + fromX)]);
    }
  }
  return out;
}

template <typename Sample>
void expectFlips() {
  for (const Size size : kSizes) {
    for (const bool vertical : {false, true}) {
      for (const bool horizontal : {false, true}) {
        const auto image = Frame<Sample>::random(area(size), 31);
        Frame<Sample> turned = image;
        flip(turned.data(), size.width, size.height, vertical, horizontal);
        ASSERT_EQ(turned.pixels(), flipped(image, size, vertical, horizontal))
            << size.width << "x" << size.height << " " << vertical << horizontal;
        ASSERT_TRUE(turned.guardsIntact());
      }
    }
  }
}

TEST(Flip, MovesEverySampleOf8Bits) { expectFlips<std::uint8_t>(); }
TEST(Flip, MovesEverySampleOf16Bits) { expectFlips<std::uint16_t>(); }

}  // namespace
}  // namespace orvik::test
