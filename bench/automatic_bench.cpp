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

const bool registered = [] {
  addCase("measure brightness", "orvik", 1, [](Size size) {
    return [size, &image = skyFrame<std::uint8_t>(size.pixels())] {
      benchmark::DoNotOptimize(measureBrightness(rawFrame(image, size), 1));
    };
  });
  addCase("measure colour", "orvik", 1, [](Size size) {
    return [size, &image = skyFrame<std::uint8_t>(size.pixels())] {
      benchmark::DoNotOptimize(mosaicColour(rawFrame(image, size), BAYER_RG, 1));
    };
  });
  return true;
}();

}  // namespace
}  // namespace orvik::bench
