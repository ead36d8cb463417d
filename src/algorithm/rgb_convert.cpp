// SPDX-License-Identifier: MIT
#include "algorithm/rgb_convert.h"

#include <array>
#include <cstddef>
#include <functional>

#include "algorithm/pixel_count.h"
#include "algorithm/vectors/luminance_run.h"
#include "algorithm/vectors/yuv_run.h"

namespace orvik {
namespace {

/// Entry i is i * thousandths / 1000 in 16.16 fixed point, rounded to nearest; ties cannot occur.
constexpr std::array<std::int32_t, 256> weightTable(std::int64_t thousandths) {
  std::array<std::int32_t, 256> table{};
  for (std::size_t i = 0; i < table.size(); ++i) {
    const std::int64_t scaled = static_cast<std::int64_t>(i) * thousandths * 65536;
    table[i] = static_cast<std::int32_t>((scaled + 500) / 1000);
  }
  return table;
}

constexpr auto kLuma0 = weightTable(257);
constexpr auto kLuma1 = weightTable(504);
constexpr auto kLuma2 = weightTable(98);
constexpr auto kChromaMain = weightTable(439);
constexpr auto kFirstChroma1 = weightTable(368);
constexpr auto kFirstChroma2 = weightTable(71);
constexpr auto kSecondChroma0 = weightTable(148);
constexpr auto kSecondChroma1 = weightTable(291);

int luma(const std::uint8_t* pixel) {
  return (kLuma0[pixel[0]] + kLuma1[pixel[1]] + kLuma2[pixel[2]]) >> 16;
}

int firstChroma(const std::uint8_t* pixel) {
  return (kChromaMain[pixel[0]] - kFirstChroma2[pixel[2]] - kFirstChroma1[pixel[1]]) >> 16;
}

int secondChroma(const std::uint8_t* pixel) {
  return (kChromaMain[pixel[2]] - kSecondChroma1[pixel[1]] - kSecondChroma0[pixel[0]]) >> 16;
}

/// Stores `reduce(pixel)` for every pixel, in the order in which no pixel is overwritten before it
/// has been read. `run` does the same for as many pixels as it can, forwards.
template <typename Run, typename Reduce>
void reducePixels(const std::uint8_t* bgr, std::uint8_t* out, std::size_t pixels, Run run,
                  Reduce reduce) {
  const std::less_equal<> notAfter{};
  if (notAfter(out, bgr) || notAfter(bgr + 3 * pixels, out)) {
    for (std::size_t i = run(bgr, out, pixels); i < pixels; ++i) out[i] = reduce(bgr + 3 * i);
  } else {
    for (std::size_t i = pixels; i-- > 0;) out[i] = reduce(bgr + 3 * i);
  }
}

void yuv422Row(const std::uint8_t* bgr, std::uint8_t* out, int width) {
  const auto putPixel = [](std::uint8_t* to, int y, int chroma) {
    to[0] = static_cast<std::uint8_t>(y + 16);
    to[1] = static_cast<std::uint8_t>(chroma + 128);
  };
  int x = static_cast<int>(yuvRun(bgr, out, static_cast<std::size_t>(width)));
  bgr += std::ptrdiff_t{3} * x;
  out += std::ptrdiff_t{2} * x;
  for (; x + 1 < width; x += 2, bgr += 6, out += 4) {
    const int y0 = luma(bgr);
    const int y1 = luma(bgr + 3);
    const int chroma0 = firstChroma(bgr);
    const int chroma1 = secondChroma(bgr);
    putPixel(out, y0, chroma0);
    putPixel(out + 2, y1, chroma1);
  }
  if (x < width) putPixel(out, luma(bgr), firstChroma(bgr));
}

}  // namespace

void luminance(const std::uint8_t* bgr, std::uint8_t* out, int width, int height) noexcept {
  reducePixels(bgr, out, pixelCount(width, height), luminanceRun,
               [](const std::uint8_t* pixel) { return static_cast<std::uint8_t>(luma(pixel)); });
}

void firstChannel(const std::uint8_t* bgr, std::uint8_t* out, int width, int height) noexcept {
  reducePixels(bgr, out, pixelCount(width, height), firstChannelRun,
               [](const std::uint8_t* pixel) { return pixel[0]; });
}

void yuv422(const std::uint8_t* bgr, std::uint8_t* out, int width, int height,
            bool bottomUp) noexcept {
  if (width < 1) return;
  const std::ptrdiff_t stride = std::ptrdiff_t{3} * width;
  for (int row = 0; row < height; ++row) {
    const int source = bottomUp ? height - 1 - row : row;
    yuv422Row(bgr + source * stride, out + row * std::ptrdiff_t{2} * width, width);
  }
}

}  // namespace orvik
