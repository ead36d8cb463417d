// SPDX-License-Identifier: MIT
// libdc1394 demosaicing: bilinear as we do, and its simplest method.
#include <dc1394/dc1394.h>

#include "bench/frames.h"

namespace orvik::bench {
namespace {

void addPeer(const std::string& variant, dc1394bayer_method_t method) {
  addCase("demosaic", variant, 1, [method](Size size) {
    return [method, size, &raw = skyFrame<std::uint8_t>(size.pixels()),
            rgb = Output<std::uint8_t>(3 * size.pixels())]() mutable {
      dc1394_bayer_decoding_8bit(raw.data(), rgb.data(), static_cast<std::uint32_t>(size.width),
                                 static_cast<std::uint32_t>(size.height), DC1394_COLOR_FILTER_RGGB,
                                 method);
    };
  });
}

const bool registered = [] {
  addPeer("libdc1394", DC1394_BAYER_METHOD_BILINEAR);
  addPeer("libdc1394 simple", DC1394_BAYER_METHOD_SIMPLE);
  return true;
}();

}  // namespace
}  // namespace orvik::bench
