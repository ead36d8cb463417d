// SPDX-License-Identifier: MIT
// The speed limit of the machine: memcpy of frames of 1, 2 and 3 bytes per pixel.
#include <cstring>

#include "bench/frames.h"

namespace orvik::bench {
namespace {

const bool registered = [] {
  for (const int bytes : {1, 2, 3}) {
    addCase("memcpy", std::to_string(8 * bytes) + " bit", bytes, [bytes](Size size) {
      const std::size_t count = size.pixels() * static_cast<std::size_t>(bytes);
      return [count, &in = skyFrame<std::uint8_t>(count),
              out = Output<std::uint8_t>(count)]() mutable {
        std::memcpy(out.data(), in.data(), count);
        benchmark::DoNotOptimize(out.data());
      };
    });
  }
  return true;
}();

}  // namespace
}  // namespace orvik::bench
