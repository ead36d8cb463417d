// SPDX-License-Identifier: MIT
#include "algorithm/dark.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "algorithm/pixel_count.h"
#include "algorithm/vectors/dark_run.h"

namespace orvik {
namespace {

/// The largest offset with which every difference fits in a signed 16-bit integer.
constexpr int kLargestNarrowOffset = 32767 - 255;

void subtractRun(std::uint8_t* image, std::size_t count, int offset, const std::uint16_t* dark) {
  std::size_t i = 0;
  if (offset >= 0 && offset <= kLargestNarrowOffset) {
    i = subtractDarkRun(image, count, static_cast<std::uint16_t>(offset), dark);
  }
  for (; i < count; ++i) {
    const std::int64_t difference = std::int64_t{image[i]} + offset - dark[i];
    image[i] = static_cast<std::uint8_t>(std::clamp<std::int64_t>(difference, 0, 255));
  }
}

/// Returns `at`, or the last coordinate of the same colour if `at` lies beyond `size`.
std::int64_t inside(std::int64_t at, std::int64_t size) {
  const std::int64_t last = size - 1;
  if (at <= last) return at;
  return last > 0 && (at - last) % 2 != 0 ? last - 1 : last;
}

/// The first of the two samples that the sensor combined into sample `at` of a row or column. The
/// other one lies two further on.
std::int64_t firstCombined(std::int64_t at, std::int64_t start) {
  return 2 * (at + start) - at % 2;
}

/// numerator / denominator, rounded to nearest, halves downwards. Subtracting it from a whole
/// number gives the same as subtracting the fraction and rounding the difference to nearest, halves
/// upwards.
constexpr std::uint32_t roundedHalfDown(std::uint32_t numerator, std::uint32_t denominator) {
  return (2 * numerator + denominator - 1) / (2 * denominator);
}

/// Makes samples of the binned dark, one row at a time.
class DarkBinner {
 public:
  DarkBinner(const std::uint16_t* dark, int width, int height, int offset, int columnStart)
      : dark_(dark),
        width_(width),
        height_(height),
        hotAbove_(std::int64_t{offset} + 30),
        start_(std::max(columnStart, 0)) {}

  /// @param x, count columns of the binned image; x is even
  void makeRow(std::int64_t y, std::int64_t x, std::size_t count, std::uint16_t* out) const {
    const std::uint16_t* const upper = row(firstCombined(y, 0));
    const std::uint16_t* const lower = row(firstCombined(y, 0) + 2);
    std::size_t i = 0;
    const std::int64_t start = firstCombined(x, start_);
    if (start < width_) {
      const auto inFrame = std::min(count, static_cast<std::size_t>((width_ - start) / 2));
      i = binDarkRun({upper + start, lower + start}, out, inFrame, hotAbove_);
    }
    for (; i < count; ++i) {
      const std::int64_t first = firstCombined(x + static_cast<std::int64_t>(i), start_);
      const auto left = static_cast<std::size_t>(inside(first, width_));
      const auto right = static_cast<std::size_t>(inside(first + 2, width_));
      out[i] = weigh({upper[left], lower[left], upper[right], lower[right]});
    }
  }

 private:
  [[nodiscard]] const std::uint16_t* row(std::int64_t y) const {
    return dark_ + static_cast<std::size_t>(inside(y, height_)) * static_cast<std::size_t>(width_);
  }

  [[nodiscard]] std::uint16_t weigh(const std::array<std::uint32_t, 4>& samples) const {
    const std::uint32_t sum = samples[0] + samples[1] + samples[2] + samples[3];
    for (const std::uint32_t sample : samples) {
      // 0.7 of one and 0.1 of each other one is 0.1 of all plus 0.6 of the one.
      if (sample > hotAbove_)
        return static_cast<std::uint16_t>(roundedHalfDown(sum + 6 * sample, 10));
    }
    return static_cast<std::uint16_t>(roundedHalfDown(sum, 4));
  }

  const std::uint16_t* dark_;
  std::int64_t width_;
  std::int64_t height_;
  std::int64_t hotAbove_;
  std::int64_t start_;
};

template <typename Sample>
std::uint32_t meanOf(std::span<const Sample> samples) {
  if (samples.empty()) return 0;
  std::uint64_t sum = 0;
  for (const Sample sample : samples) sum += sample;
  return static_cast<std::uint32_t>(sum / samples.size());
}

/// Cuts one row of a frame whose samples are single pixels.
void cutRow(const SensorPlane& plane, const FrameRegion& region, int row, std::uint16_t* cut) {
  const int y = region.y + row;
  const int first = std::clamp(-region.x, 0, region.columns);
  const int end = std::clamp(plane.width - region.x, first, region.columns);
  std::fill_n(cut, region.columns, std::uint16_t{0});
  if (y < 0 || y >= plane.height) return;
  const std::uint8_t* const pixels =
      plane.pixels + static_cast<std::ptrdiff_t>(y) * plane.width + region.x;
  for (std::ptrdiff_t x = first; x < end; ++x) cut[x] = pixels[x];
}

/// The sum of a sample's pixels; 0 when one of them lies beyond the plane.
std::uint32_t sumOfPixels(const SensorPlane& plane, const FrameRegion& region, int column,
                          int row) {
  const int reach = region.colourStep * (region.bin - 1);
  const int left = region.x + region.firstPixel(column);
  const int top = region.y + region.firstPixel(row);
  if (left < 0 || top < 0 || left + reach >= plane.width || top + reach >= plane.height) return 0;
  std::uint32_t sum = 0;
  for (int y = top; y <= top + reach; y += region.colourStep) {
    const std::uint8_t* const pixels = plane.pixels + static_cast<std::ptrdiff_t>(y) * plane.width;
    for (int x = left; x <= left + reach; x += region.colourStep) sum += pixels[x];
  }
  return sum;
}

}  // namespace

void subtractDark(std::uint8_t* image, int width, int height, int offset,
                  const std::uint16_t* dark) noexcept {
  subtractRun(image, pixelCount(width, height), offset, dark);
}

void subtractBinnedDark(std::uint8_t* image, int width, int height, int offset,
                        const std::uint16_t* dark, int columnStart) noexcept {
  if (width < 2 || height < 2) return;
  constexpr std::size_t kChunk = 256;
  std::array<std::uint16_t, kChunk> binned;
  const DarkBinner binner(dark, width, height, offset, columnStart);
  const auto columns = static_cast<std::size_t>(width / 2);
  for (std::int64_t y = 0; y < height / 2; ++y) {
    for (std::size_t x = 0; x < columns; x += kChunk) {
      const std::size_t count = std::min(kChunk, columns - x);
      binner.makeRow(y, static_cast<std::int64_t>(x), count, binned.data());
      subtractRun(image + static_cast<std::size_t>(y) * columns + x, count, offset, binned.data());
    }
  }
}

void binDark(const std::uint16_t* dark, int width, int height, int offset,
             std::uint16_t* binned) noexcept {
  if (width < 2 || height < 2) return;
  const DarkBinner binner(dark, width, height, offset, 0);
  const auto columns = static_cast<std::size_t>(width / 2);
  for (std::int64_t y = 0; y < height / 2; ++y) {
    binner.makeRow(y, 0, columns, binned + static_cast<std::size_t>(y) * columns);
  }
}

void cutPlane(const SensorPlane& plane, const FrameRegion& region, std::uint16_t* cut) noexcept {
  if (region.columns < 1 || region.bin < 1) return;
  const auto pixelsPerSample = static_cast<std::uint32_t>(region.bin * region.bin);
  for (int row = 0; row < region.rows; ++row, cut += region.columns) {
    if (region.bin == 1) {
      cutRow(plane, region, row, cut);
      continue;
    }
    for (int x = 0; x < region.columns; ++x) {
      cut[x] = static_cast<std::uint16_t>(
          roundedHalfDown(sumOfPixels(plane, region, x, row), pixelsPerSample));
    }
  }
}

std::uint32_t darkMean(std::span<const std::uint8_t> dark) noexcept { return meanOf(dark); }

std::uint32_t darkMean(std::span<const std::uint16_t> dark) noexcept { return meanOf(dark); }

std::vector<std::uint32_t> hotSamples(std::span<const std::uint16_t> dark, std::uint32_t mean) {
  std::vector<std::uint32_t> hot;
  for (std::size_t i = 0; i < dark.size(); ++i) {
    if (isHot(dark[i], mean)) hot.push_back(static_cast<std::uint32_t>(i));
  }
  return hot;
}

}  // namespace orvik
