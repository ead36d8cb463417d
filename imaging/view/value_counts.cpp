// SPDX-License-Identifier: MIT
#include "imaging/view/value_counts.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <type_traits>

namespace orvik::imaging {
namespace {

// Neighbouring pixels are alike: counted in the same table, each would wait for the one before.
constexpr std::size_t kColumnTables = 4;

template <typename Sample>
const Sample* rowOf(const ImageSource& image, int y) {
  if constexpr (std::is_same_v<Sample, std::uint16_t>) {
    return image.row16(y);
  } else {
    return image.row8(y);
  }
}

}  // namespace

void ValueCounts::count(const ImageSource& image) {
  channels_ = image.isColour() ? 3 : 1;
  values_ = static_cast<std::size_t>(image.depth()) + 1;
  counts_.assign(static_cast<std::size_t>(channels_) * values_, 0);
  if (image.type == Orvik_IMG_RGB24) {
    image.isWide() ? countColour<std::uint16_t>(image) : countColour<std::uint8_t>(image);
  } else if (image.isWide()) {
    countPlane<std::uint16_t>(image);
  } else {
    countPlane<std::uint8_t>(image);
  }
}

template <typename Sample>
void ValueCounts::countPlane(const ImageSource& image) {
  // One table for each column modulo four, of even and of odd rows.
  tables_.assign(2 * kColumnTables * values_, 0);
  for (int y = 0; y < image.size.height; ++y) {
    const auto* const row = rowOf<Sample>(image, y);
    std::array<std::uint32_t*, kColumnTables> table{};
    for (std::size_t i = 0; i < table.size(); ++i) {
      table[i] = tables_.data() + (static_cast<std::size_t>(y % 2) * kColumnTables + i) * values_;
    }
    const auto width = static_cast<std::size_t>(image.size.width);
    std::size_t x = 0;
    for (; x + kColumnTables <= width; x += kColumnTables) {
      ++table[0][row[x]];
      ++table[1][row[x + 1]];
      ++table[2][row[x + 2]];
      ++table[3][row[x + 3]];
    }
    for (; x < width; ++x) ++table[x % kColumnTables][row[x]];
  }
  const RedSite red = redSite(image.mosaic.value_or(BAYER_RG));
  for (std::size_t site = 0; site < 2 * kColumnTables; ++site) {
    int channel = 0;
    if (image.mosaic) {
      const bool isRedRow = static_cast<int>(site / kColumnTables) == red.y;
      const bool isRedColumn = static_cast<int>(site % 2) == red.x;
      channel = isRedRow != isRedColumn ? 1 : (isRedRow ? 0 : 2);
    }
    const std::uint32_t* const from = tables_.data() + site * values_;
    std::uint32_t* const to = counts_.data() + static_cast<std::size_t>(channel) * values_;
    std::transform(from, from + values_, to, to, std::plus<>());
  }
}

template <typename Sample>
void ValueCounts::countColour(const ImageSource& image) {
  std::uint32_t* const red = counts_.data();
  std::uint32_t* const green = red + values_;
  std::uint32_t* const blue = green + values_;
  for (int y = 0; y < image.size.height; ++y) {
    const auto* pixel = rowOf<Sample>(image, y);
    for (int x = 0; x < image.size.width; ++x, pixel += 3) {
      ++blue[pixel[0]];
      ++green[pixel[1]];
      ++red[pixel[2]];
    }
  }
}

double quantile(std::span<const std::uint32_t> counts, double part) {
  const auto all = std::accumulate(counts.begin(), counts.end(), std::uint64_t{0});
  if (all == 0) return 0;
  const double wanted = part * static_cast<double>(all);
  double below = 0;
  for (std::size_t value = 0; value < counts.size(); ++value) {
    const double here = counts[value];
    if (here > 0 && below + here >= wanted) {
      return static_cast<double>(value) - 0.5 + (wanted - below) / here;
    }
    below += here;
  }
  return static_cast<double>(counts.size() - 1);
}

}  // namespace orvik::imaging
