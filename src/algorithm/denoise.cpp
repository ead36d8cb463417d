// SPDX-License-Identifier: MIT
#include "algorithm/denoise.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>

namespace orvik {
namespace {

template <typename Sample>
bool contains(const SampleFrame<Sample>& frame, int x, int y) {
  return x >= 0 && y >= 0 && x < frame.width && y < frame.height;
}

template <typename Sample>
Sample& at(const SampleFrame<Sample>& frame, int x, int y) {
  return frame.samples[static_cast<std::ptrdiff_t>(y) * frame.width + x];
}

/// Calls `use(x, y)` for those of the eight positions around, `step` away, that lie in the frame,
/// until it returns false.
template <typename Sample, class Use>
bool forAllAround(const SampleFrame<Sample>& frame, int x, int y, int step, Use use) {
  for (int dy = -1; dy <= 1; ++dy) {
    for (int dx = -1; dx <= 1; ++dx) {
      const int column = x + dx * step;
      const int row = y + dy * step;
      if ((dx == 0 && dy == 0) || !contains(frame, column, row)) continue;
      if (!use(column, row)) return false;
    }
  }
  return true;
}

bool isFlat(int sample, int next) {
  return sample == next || std::abs(sample - next) * 20 < std::min(sample, next);
}

}  // namespace

template <typename Sample>
std::uint16_t riseAboveRow(const SampleFrame<Sample>& frame, int x, int y) noexcept {
  if (!contains(frame, x, y)) return 0;
  const bool leftwards = x > frame.width / 2;
  const int step = leftwards ? -frame.colourStep : frame.colourStep;
  for (int c = leftwards ? x - 4 : x + 4; c >= 0 && c + frame.colourStep < frame.width; c += step) {
    const int background = at(frame, c, y);
    if (!isFlat(background, at(frame, c + frame.colourStep, y))) continue;
    return static_cast<std::uint16_t>(std::max(int{at(frame, x, y)} - background, 0));
  }
  return 0;
}

template <typename Sample>
bool mendIfHot(const SampleFrame<Sample>& frame, int x, int y) noexcept {
  if (!contains(frame, x, y)) return false;
  constexpr int kThreshold = sizeof(Sample) == 1 ? 30 : 30 * 256;
  const int sample = at(frame, x, y);
  const int limit = sample * 8 / 10;
  int sum = 0;
  int neighbours = 0;
  const bool standsOut = forAllAround(frame, x, y, frame.colourStep, [&](int column, int row) {
    const int neighbour = at(frame, column, row);
    sum += neighbour;
    ++neighbours;
    return sample - neighbour > kThreshold && neighbour <= limit;
  });
  if (!standsOut || neighbours == 0) return false;

  const int wide = 3 * int{riseAboveRow(frame, x, y)} / 10;
  int rising = 0;
  const bool isSingle = forAllAround(frame, x, y, 1, [&](int column, int row) {
    if (riseAboveRow(frame, column, row) > wide) ++rising;
    return rising < 2;
  });
  if (!isSingle) return false;
  at(frame, x, y) = static_cast<Sample>(sum / neighbours);
  return true;
}

template std::uint16_t riseAboveRow(const SampleFrame<std::uint8_t>&, int, int) noexcept;
template std::uint16_t riseAboveRow(const SampleFrame<std::uint16_t>&, int, int) noexcept;
template bool mendIfHot(const SampleFrame<std::uint8_t>&, int, int) noexcept;
template bool mendIfHot(const SampleFrame<std::uint16_t>&, int, int) noexcept;

}  // namespace orvik
