// SPDX-License-Identifier: MIT The cost of automatic exposure and white balance for the thread that
// reads frames: one measurement in the memory of the frame, compared with a copy of that frame.
#include "algorithm/brightness.h"
#include "algorithm/colour_balance.h"
#include "bench/frames.h"

namespace orvik::bench {
namespace {

RawFrame rawFrame(const std::vector<std::uint8_t>& image, Size size) {
  return {.samples = image.data(), .columns = size.width, .rows = size.height};
}

/// A grid of 64 x 48 points, of which those in the middle 60 percent of both axes are read.
std::size_t brightnessPixels(Size) { return std::size_t{39} * 29; }

/// Cells of four pixels at 10 x 10 points of each of 16 x 16 blocks.
std::size_t colourPixels(Size) { return std::size_t{16} * 16 * 10 * 10 * 4; }

const bool registered = [] {
  addCase(
      "measure brightness", "orvik", 1,
      [](Size size) {
        return [size, &image = skyFrame<std::uint8_t>(size.pixels())] {
          benchmark::DoNotOptimize(measureBrightness(rawFrame(image, size), 1));
        };
      },
      brightnessPixels);
  addCase(
      "measure colour", "orvik", 1,
      [](Size size) {
        return [size, &image = skyFrame<std::uint8_t>(size.pixels())] {
          benchmark::DoNotOptimize(mosaicColour(rawFrame(image, size), BAYER_RG, 1));
        };
      },
      colourPixels);
  return true;
}();

}  // namespace
}  // namespace orvik::bench
