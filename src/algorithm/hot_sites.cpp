// SPDX-License-Identifier: MIT
#include "algorithm/hot_sites.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>

namespace orvik {
namespace {

struct Direction {
  int x;
  int y;
};
constexpr std::array<Direction, 8> kAround = {
    {{-1, -1}, {0, -1}, {1, -1}, {-1, 0}, {1, 0}, {-1, 1}, {0, 1}, {1, 1}}};

/// Calls `use(x, y)` for each marked pixel of the rows from `firstRow` up to `endRow`.
template <class Use>
void forEachMarked(std::span<const std::uint8_t> table, int sensorWidth, int firstRow, int endRow,
                   Use use) {
  const auto width = static_cast<std::size_t>(sensorWidth);
  const std::size_t end =
      std::min(table.size(), (static_cast<std::size_t>(endRow) * width + 7) / 8);
  for (std::size_t j = static_cast<std::size_t>(firstRow) * width / 8; j < end; ++j) {
    for (unsigned bits = table[j]; bits != 0; bits &= bits - 1) {
      const std::size_t pixel = 8 * j + static_cast<std::size_t>(std::countr_zero(bits));
      use(static_cast<int>(pixel % width), static_cast<int>(pixel / width));
    }
  }
}

/// Which samples of a frame are hot.
class HotMap {
 public:
  explicit HotMap(const FrameRegion& region) : region_(region), hot_(region.samples()) {}

  void mark(int column, int row) { hot_[index(column, row)] = true; }

  [[nodiscard]] bool isGood(int column, int row) const {
    return column >= 0 && row >= 0 && column < region_.columns && row < region_.rows &&
           !hot_[index(column, row)];
  }

  [[nodiscard]] std::uint8_t goodNeighbours(std::uint32_t sample) const {
    const int column = static_cast<int>(sample) % region_.columns;
    const int row = static_cast<int>(sample) / region_.columns;
    unsigned good = 0;
    for (std::size_t n = 0; n < kAround.size(); ++n) {
      const bool usable = isGood(column + kAround[n].x * region_.colourStep,
                                 row + kAround[n].y * region_.colourStep);
      good |= unsigned{usable} << n;
    }
    return static_cast<std::uint8_t>(good);
  }

  [[nodiscard]] std::uint32_t index(int column, int row) const {
    return static_cast<std::uint32_t>(row) * static_cast<std::uint32_t>(region_.columns) +
           static_cast<std::uint32_t>(column);
  }

 private:
  const FrameRegion& region_;
  std::vector<bool> hot_;
};

template <typename Sample>
void correct(Sample* image, const HotSites& sites) {
  std::array<std::ptrdiff_t, 8> offsets;
  for (std::size_t n = 0; n < kAround.size(); ++n) {
    offsets[n] = std::ptrdiff_t{sites.region.colourStep} *
                 (std::ptrdiff_t{kAround[n].y} * sites.region.columns + kAround[n].x);
  }
  for (const HotSites::Site& site : sites.sites) {
    std::array<Sample, 8> good{};  // ascending
    std::size_t count = 0;
    for (unsigned bits = site.goodNeighbours; bits != 0; bits &= bits - 1) {
      const Sample next =
          image[site.index + offsets[static_cast<std::size_t>(std::countr_zero(bits))]];
      std::size_t at = count++;
      for (; at > 0 && good[at - 1] > next; --at) good[at] = good[at - 1];
      good[at] = next;
    }
    if (count == 0) continue;
    image[site.index] = static_cast<Sample>((good[(count - 1) / 2] + good[count / 2]) / 2);
  }
}

}  // namespace

HotSites cutHotPixels(std::span<const std::uint8_t> table, int sensorWidth,
                      const FrameRegion& region) {
  HotSites cut{.region = region, .sites = {}};
  if (sensorWidth < 1 || region.x < 0 || region.y < 0) return cut;
  HotMap map(region);
  std::vector<std::uint32_t> hot;
  forEachMarked(table, sensorWidth, region.y, region.y + region.rows * region.bin,
                [&](int x, int y) {
                  if (x < region.x || y < region.y) return;
                  const int column = region.sampleOf(x - region.x);
                  const int row = region.sampleOf(y - region.y);
                  if (!map.isGood(column, row)) return;  // beyond the frame, or marked already
                  map.mark(column, row);
                  hot.push_back(map.index(column, row));
                });
  std::ranges::sort(hot);
  cut.sites.reserve(hot.size());
  for (const std::uint32_t index : hot) {
    cut.sites.push_back({.index = index, .goodNeighbours = map.goodNeighbours(index)});
  }
  return cut;
}

void correctHotPixels(std::uint8_t* image, const HotSites& sites) noexcept {
  correct(image, sites);
}

void correctHotPixels(std::uint16_t* image, const HotSites& sites) noexcept {
  correct(image, sites);
}

}  // namespace orvik
