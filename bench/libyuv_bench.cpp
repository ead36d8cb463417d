// SPDX-License-Identifier: MIT
// libyuv doing the work of our kernels, or the most similar work. It writes into a second buffer,
// while our flips work in place.
#include <libyuv.h>

#include <algorithm>
#include <utility>

#include "bench/frames.h"

namespace orvik::bench {
namespace {

const std::string kPeer = "libyuv";

/// Registers a case of libyuv.
/// @param convert called with the input, the output and the size
template <typename Convert>
void addPeer(const std::string& kernel, const std::string& variant, int bytesPerPixel,
             int bytesOfResult, Convert convert) {
  addCase(kernel, variant, bytesPerPixel, [=](Size size) {
    return [convert, size,
            &in = skyFrame<std::uint8_t>(size.pixels() * static_cast<std::size_t>(bytesPerPixel)),
            out = Output<std::uint8_t>(size.pixels() *
                                       static_cast<std::size_t>(bytesOfResult))]() mutable {
      convert(in.data(), out.data(), size);
    };
  });
}

/// There is no direct road from 24 bits to 4:2:2: rows are brought to 32 bits first.
/// @param rows so many at a time: all, as a program does that calls the two functions once, or few
///   enough for the intermediate rows to stay in the cache
auto toPacked422(int rows) {
  return [rows, wide = std::vector<std::uint8_t>()](const std::uint8_t* in, std::uint8_t* out,
                                                    Size size) mutable {
    const int band = rows == 0 ? size.height : rows;
    const int stride = 4 * size.width;
    wide.resize(static_cast<std::size_t>(stride) * static_cast<std::size_t>(band));
    for (int y = 0; y < size.height; y += band) {
      const int count = std::min(band, size.height - y);
      const std::ptrdiff_t first = std::ptrdiff_t{y} * size.width;
      libyuv::RGB24ToARGB(in + 3 * first, 3 * size.width, wide.data(), stride, size.width, count);
      libyuv::ARGBToYUY2(wide.data(), stride, out + 2 * first, 2 * size.width, size.width, count);
    }
  };
}

/// A negative height flips vertically.
void mirror8(const std::uint8_t* in, std::uint8_t* out, Size size, int height) {
  libyuv::MirrorPlane(in, size.width, out, size.width, size.width, height);
}

/// A mirror for pairs of bytes does for 16-bit samples.
void mirror16(const std::uint8_t* in, std::uint8_t* out, Size size, int height) {
  libyuv::MirrorUVPlane(in, 2 * size.width, out, 2 * size.width, size.width, height);
}

const bool registered = [] {
  // Its luminance of 24-bit colour is that of full range; the one of video range needs 32 bits.
  addPeer("luminance", kPeer, 3, 1, [](const std::uint8_t* in, std::uint8_t* out, Size size) {
    libyuv::RGB24ToJ400(in, 3 * size.width, out, size.width, size.width, size.height);
  });
  addPeer("4:2:2", kPeer, 3, 2, toPacked422(0));
  addPeer("4:2:2", "libyuv, 16 rows at a time", 3, 2, toPacked422(16));
  for (const bool both : {false, true}) {
    const std::string which = both ? "both" : "horizontal";
    const auto add = [&](const std::string& kernel, int bytes, auto mirror) {
      addPeer(kernel + which, kPeer, bytes, bytes,
              [=](const std::uint8_t* in, std::uint8_t* out, Size size) {
                mirror(in, out, size, both ? -size.height : size.height);
              });
    };
    add("flip 8 ", 1, mirror8);
    add("flip 16 ", 2, mirror16);
  }
  for (const int bytes : {1, 2}) {
    addPeer(bytes == 1 ? "flip 8 vertical" : "flip 16 vertical", kPeer, bytes, bytes,
            [=](const std::uint8_t* in, std::uint8_t* out, Size size) {
              const int row = bytes * size.width;
              libyuv::CopyPlane(in, row, out, row, row, -size.height);
            });
  }
  return true;
}();

}  // namespace
}  // namespace orvik::bench
