// SPDX-License-Identifier: MIT
// What automatic exposure and white balance cost the thread that reads frames: one measurement in
// the frame's own memory, beside a copy of that frame.
#include "algorithm/brightness.h"
#include "algorithm/colour_balance.h"
#include "bench/frames.h"

namespace orvik::bench {
namespace {

RawFrame rawFrame(const std::vector<uint8_t>& image, Size size) {
  return {.samples = image.data(), .columns = size.width, .rows = size.height};
}

const bool registered = [] {
  addCase("measure brightness", "orvik", 1, [](Size size) {
    return [size, &image = skyFrame<uint8_t>(size.pixels())] {
      benchmark::DoNotOptimize(measureBrightness(rawFrame(image, size), 1));
    };
  });
  addCase("measure colour", "orvik", 1, [](Size size) {
    return [size, &image = skyFrame<uint8_t>(size.pixels())] {
      benchmark::DoNotOptimize(mosaicColour(rawFrame(image, size), BAYER_RG, 1));
    };
  });
  return true;
}();

}  // namespace
}  // namespace orvik::bench
