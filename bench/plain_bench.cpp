// SPDX-License-Identifier: MIT
// Plain loops, for kernels that no other library has: what the compiler makes of the rule itself
// at -O3. And the limits of kernels that write more than they read: a demosaic writes three bytes
// for each, 10-bit grey two.
#include <algorithm>
#include <array>
#include <cstring>

#include "bench/frames.h"

namespace orvik::bench {
namespace {

const std::string kPeer = "plain";

void lookUp(std::uint16_t* image, std::size_t pixels, const std::uint16_t* table) {
  for (std::size_t i = 0; i < pixels; ++i) image[i] = table[image[i]];
}

/// A product in 16.16 fixed point.
constexpr int weight(double value) { return static_cast<int>(value * 65536 + 0.5); }

void packed422(const std::uint8_t* bgr, std::uint8_t* out, std::size_t pairs) {
  for (std::size_t i = 0; i < pairs; ++i) {
    const std::uint8_t* const pixel = bgr + 6 * i;
    const auto luma = [](const std::uint8_t* p) {
      return ((weight(0.257) * p[0] + weight(0.504) * p[1] + weight(0.098) * p[2]) >> 16) + 16;
    };
    const int first =
        (weight(0.439) * pixel[0] - weight(0.368) * pixel[1] - weight(0.071) * pixel[2]) >> 16;
    const int second =
        (weight(0.439) * pixel[2] - weight(0.291) * pixel[1] - weight(0.148) * pixel[0]) >> 16;
    out[4 * i] = static_cast<std::uint8_t>(luma(pixel));
    out[4 * i + 1] = static_cast<std::uint8_t>(first + 128);
    out[4 * i + 2] = static_cast<std::uint8_t>(luma(pixel + 3));
    out[4 * i + 3] = static_cast<std::uint8_t>(second + 128);
  }
}

/// Subtracts what the sensor made of 2 x 2 dark samples of a colour: a hot one counts seven times
/// as much as each of the others.
void binnedDark(std::uint8_t* image, int width, int height, int offset, const std::uint16_t* dark) {
  for (int y = 0; y < height / 2; ++y) {
    const int top = 2 * y - y % 2;
    const std::uint16_t* const upper = dark + std::ptrdiff_t{top} * width;
    const std::uint16_t* const lower = top + 2 < height ? upper + std::ptrdiff_t{2} * width : upper;
    for (int x = 0; x < width / 2; ++x) {
      const int left = 2 * x - x % 2;
      const int right = left + 2 < width ? left + 2 : left;
      const std::array<int, 4> samples{upper[left], lower[left], upper[right], lower[right]};
      const int sum = samples[0] + samples[1] + samples[2] + samples[3];
      int value = (2 * sum + 3) / 8;
      for (const int sample : samples) {
        if (sample > offset + 30) {
          value = (2 * (sum + 6 * sample) + 9) / 20;
          break;
        }
      }
      std::uint8_t& pixel = image[std::ptrdiff_t{y} * (width / 2) + x];
      pixel = static_cast<std::uint8_t>(std::clamp(pixel + offset - value, 0, 255));
    }
  }
}

/// As many bytes as a kernel reads and writes: each row is copied several times.
void copyRows(const std::uint8_t* in, std::uint8_t* out, Size size, int bytesPerPixel, int copies) {
  const auto row = static_cast<std::size_t>(size.width) * static_cast<std::size_t>(bytesPerPixel);
  for (int y = 0; y < size.height; ++y, in += row) {
    for (int copy = 0; copy < copies; ++copy, out += row) std::memcpy(out, in, row);
  }
}

/// The bytes of a demosaic in its order: line by line of two rows, with prefetches.
void copyThreeTimesInPairs(const std::uint8_t* in, std::uint8_t* out, Size size) {
  constexpr std::ptrdiff_t kLine = 64;
  for (int y = 0; y < size.height; y += 2) {
    for (int x = 0; x < size.width;) {
      for (const int row : {y, y + 1}) {
        const std::ptrdiff_t at = std::ptrdiff_t{row} * size.width + x;
        __builtin_prefetch(in + at + 512);
        for (int copy = 0; copy < 3; ++copy) {
          std::uint8_t* const to = out + 3 * at + kLine * copy;
          __builtin_prefetch(to + 768, 1);
          std::memcpy(to, in + at, kLine);
        }
      }
      if (x + kLine == size.width) break;
      x = std::min(x + static_cast<int>(kLine), size.width - static_cast<int>(kLine));
    }
  }
}

void addTable16(const std::string& name, const std::vector<std::uint16_t>& (*frame)(std::size_t)) {
  addCase(name, kPeer, 2, [frame](Size size) {
    std::vector<std::uint16_t> table(65536);
    for (std::size_t i = 0; i < table.size(); ++i) table[i] = static_cast<std::uint16_t>(~i);
    return [size, image = InPlace(frame(size.pixels())), table]() mutable {
      lookUp(image.data(), size.pixels(), table.data());
    };
  });
}

const bool registered = [] {
  addCase("demosaic", "copy limit", 1, [](Size size) {
    return [size, &in = skyFrame<std::uint8_t>(size.pixels()),
            out = Output<std::uint8_t>(3 * size.pixels())]() mutable {
      copyRows(in.data(), out.data(), size, 1, 3);
    };
  });
  addCase("demosaic", "copy limit in pairs of rows", 1, [](Size size) {
    return [size, &in = skyFrame<std::uint8_t>(size.pixels()),
            out = Output<std::uint8_t>(3 * size.pixels())]() mutable {
      copyThreeTimesInPairs(in.data(), out.data(), size);
    };
  });
  addCase("10-bit grey", "copy limit", 2, [](Size size) {
    return [size, &in = skyFrame<std::uint8_t>(2 * size.pixels()),
            out = Output<std::uint8_t>(4 * size.pixels())]() mutable {
      copyRows(in.data(), out.data(), size, 2, 2);
    };
  });
  addTable16("table 16", skyFrame<std::uint16_t>);
  addTable16("table 16, random pixels", randomFrame<std::uint16_t>);
  addCase("4:2:2", kPeer, 3, [](Size size) {
    return [size, &bgr = skyFrame<std::uint8_t>(3 * size.pixels()),
            out = Output<std::uint8_t>(2 * size.pixels())]() mutable {
      packed422(bgr.data(), out.data(), size.pixels() / 2);
    };
  });
  addCase("dark of binned", kPeer, 1, [](Size size) {
    return [size, image = InPlace(skyFrame<std::uint8_t>(size.pixels()), 0.25),
            &dark = darkFrame(size.pixels())]() mutable {
      binnedDark(image.data(), size.width, size.height, 7, dark.data());
    };
  });
  return true;
}();

}  // namespace
}  // namespace orvik::bench
