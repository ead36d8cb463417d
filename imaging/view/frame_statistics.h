// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "imaging/view/image_source.h"
#include "imaging/view/value_counts.h"

namespace orvik::imaging {

/// What is told about one channel of an image.
struct ChannelStatistics {
  std::array<std::uint32_t, 256> histogram{};  ///< over the whole depth
  int min = 0;
  int max = 0;
  double mean = 0;
  /// Pixels at the largest value. Of 16 bits those whose upper ten are all set: a converter of ten
  /// or twelve bits leaves the lower ones at 0.
  std::uint64_t saturated = 0;
};

/// One channel, grey; or red, green and blue.
std::vector<ChannelStatistics> statisticsOf(const ValueCounts& counts);

/// The values of a pixel: one, or red, green and blue. A pixel of a mosaic has one.
std::vector<int> pixelAt(const ImageSource& image, int x, int y);

/// The smallest value of a sample that counts as saturated.
constexpr int saturatedFrom(int depth) { return depth == 65535 ? 0xFFC0 : depth; }

}  // namespace orvik::imaging
