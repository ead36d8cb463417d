// SPDX-License-Identifier: MIT
#include "algorithm/dark.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "algorithm/pixel_count.h"
#include "algorithm/vectors/dark_run.h"

namespace orvik {
namespace {

/// The largest offset with which every difference fits in 16 bits with a sign.
constexpr int kLargestNarrowOffset = 32767 - 255;

void subtractRun(uint8_t* image, size_t count, int offset, const uint16_t* dark) {
  size_t i = 0;
  if (offset >= 0 && offset <= kLargestNarrowOffset) {
    i = subtractDarkRun(image, count, static_cast<uint16_t>(offset), dark);
  }
  for (; i < count; ++i) {
    const int64_t difference = int64_t{image[i]} + offset - dark[i];
    image[i] = static_cast<uint8_t>(std::clamp<int64_t>(difference, 0, 255));
  }
}

/// `at`, or the last coordinate of the same colour where it lies beyond `size`.
int64_t inside(int64_t at, int64_t size) {
  const int64_t last = size - 1;
  if (at <= last) return at;
  return last > 0 && (at - last) % 2 != 0 ? last - 1 : last;
}

/// The first of the samples that the sensor combined into number `at` of a row or column. The
/// other one lies two further on.
int64_t firstCombined(int64_t at, int64_t start) { return 2 * (at + start) - at % 2; }

/// The whole number that gives the same when it is subtracted from a whole number as
/// numerator / denominator does, the difference being rounded to nearest, halves upwards.
constexpr uint32_t roundedHalfDown(uint32_t numerator, uint32_t denominator) {
  return (2 * numerator + denominator - 1) / (2 * denominator);
}

/// Makes samples of the binned dark, one row at a time.
class DarkBinner {
 public:
  DarkBinner(const uint16_t* dark, int width, int height, int offset, int columnStart)
      : dark_(dark),
        width_(width),
        height_(height),
        hotAbove_(int64_t{offset} + 30),
        start_(std::max(columnStart, 0)) {}

  /// @param x, count columns of the binned image
  void makeRow(int64_t y, int64_t x, size_t count, uint16_t* out) const {
    const uint16_t* const upper = row(firstCombined(y, 0));
    const uint16_t* const lower = row(firstCombined(y, 0) + 2);
    for (size_t i = 0; i < count; ++i) {
      const int64_t first = firstCombined(x + static_cast<int64_t>(i), start_);
      const auto left = static_cast<size_t>(inside(first, width_));
      const auto right = static_cast<size_t>(inside(first + 2, width_));
      out[i] = weigh({upper[left], lower[left], upper[right], lower[right]});
    }
  }

 private:
  [[nodiscard]] const uint16_t* row(int64_t y) const {
    return dark_ + static_cast<size_t>(inside(y, height_)) * static_cast<size_t>(width_);
  }

  [[nodiscard]] uint16_t weigh(const std::array<uint32_t, 4>& samples) const {
    const uint32_t sum = samples[0] + samples[1] + samples[2] + samples[3];
    for (const uint32_t sample : samples) {
      // 0.7 of one and 0.1 of the others are 0.1 of all and 0.6 of one.
      if (sample > hotAbove_) return static_cast<uint16_t>(roundedHalfDown(sum + 6 * sample, 10));
    }
    return static_cast<uint16_t>(roundedHalfDown(sum, 4));
  }

  const uint16_t* dark_;
  int64_t width_;
  int64_t height_;
  int64_t hotAbove_;
  int64_t start_;
};

template <typename Sample>
uint32_t meanOf(std::span<const Sample> samples) {
  if (samples.empty()) return 0;
  uint64_t sum = 0;
  for (const Sample sample : samples) sum += sample;
  return static_cast<uint32_t>(sum / samples.size());
}

/// The row of a frame whose samples are single pixels.
void cutRow(const SensorPlane& plane, const FrameRegion& region, int row, uint16_t* cut) {
  const int y = region.y + row;
  const int first = std::clamp(-region.x, 0, region.columns);
  const int end = std::clamp(plane.width - region.x, first, region.columns);
  std::fill_n(cut, region.columns, uint16_t{0});
  if (y < 0 || y >= plane.height) return;
  const uint8_t* const pixels = plane.pixels + static_cast<ptrdiff_t>(y) * plane.width + region.x;
  for (ptrdiff_t x = first; x < end; ++x) cut[x] = pixels[x];
}

/// The sum of a sample's pixels; 0 when one of them lies beyond the plane.
uint32_t sumOfPixels(const SensorPlane& plane, const FrameRegion& region, int column, int row) {
  const int reach = region.colourStep * (region.bin - 1);
  const int left = region.x + region.firstPixel(column);
  const int top = region.y + region.firstPixel(row);
  if (left < 0 || top < 0 || left + reach >= plane.width || top + reach >= plane.height) return 0;
  uint32_t sum = 0;
  for (int y = top; y <= top + reach; y += region.colourStep) {
    const uint8_t* const pixels = plane.pixels + static_cast<ptrdiff_t>(y) * plane.width;
    for (int x = left; x <= left + reach; x += region.colourStep) sum += pixels[x];
  }
  return sum;
}

}  // namespace

void subtractDark(uint8_t* image, int width, int height, int offset,
                  const uint16_t* dark) noexcept {
  subtractRun(image, pixelCount(width, height), offset, dark);
}

void subtractBinnedDark(uint8_t* image, int width, int height, int offset, const uint16_t* dark,
                        int columnStart) noexcept {
  if (width < 2 || height < 2) return;
  constexpr size_t kChunk = 256;
  std::array<uint16_t, kChunk> binned;
  const DarkBinner binner(dark, width, height, offset, columnStart);
  const auto columns = static_cast<size_t>(width / 2);
  for (int64_t y = 0; y < height / 2; ++y) {
    for (size_t x = 0; x < columns; x += kChunk) {
      const size_t count = std::min(kChunk, columns - x);
      binner.makeRow(y, static_cast<int64_t>(x), count, binned.data());
      subtractRun(image + static_cast<size_t>(y) * columns + x, count, offset, binned.data());
    }
  }
}

void binDark(const uint16_t* dark, int width, int height, int offset, uint16_t* binned) noexcept {
  if (width < 2 || height < 2) return;
  const DarkBinner binner(dark, width, height, offset, 0);
  const auto columns = static_cast<size_t>(width / 2);
  for (int64_t y = 0; y < height / 2; ++y) {
    binner.makeRow(y, 0, columns, binned + static_cast<size_t>(y) * columns);
  }
}

void cutPlane(const SensorPlane& plane, const FrameRegion& region, uint16_t* cut) noexcept {
  if (region.columns < 1 || region.bin < 1) return;
  const auto pixelsPerSample = static_cast<uint32_t>(region.bin * region.bin);
  for (int row = 0; row < region.rows; ++row, cut += region.columns) {
    if (region.bin == 1) {
      cutRow(plane, region, row, cut);
      continue;
    }
    for (int x = 0; x < region.columns; ++x) {
      cut[x] = static_cast<uint16_t>(
          roundedHalfDown(sumOfPixels(plane, region, x, row), pixelsPerSample));
    }
  }
}

uint32_t darkMean(std::span<const uint8_t> dark) noexcept { return meanOf(dark); }

uint32_t darkMean(std::span<const uint16_t> dark) noexcept { return meanOf(dark); }

std::vector<uint32_t> hotSamples(std::span<const uint16_t> dark, uint32_t mean) {
  std::vector<uint32_t> hot;
  for (size_t i = 0; i < dark.size(); ++i) {
    if (isHot(dark[i], mean)) hot.push_back(static_cast<uint32_t>(i));
  }
  return hot;
}

}  // namespace orvik
