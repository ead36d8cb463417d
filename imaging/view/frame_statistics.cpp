// SPDX-License-Identifier: MIT
#include "imaging/view/frame_statistics.h"

#include <algorithm>

namespace orvik::imaging {

std::vector<ChannelStatistics> statisticsOf(const ValueCounts& counts) {
  std::vector<ChannelStatistics> all(static_cast<std::size_t>(counts.channels()));
  const std::size_t perBin = (static_cast<std::size_t>(counts.depth()) + 1) / 256;
  const auto saturated = static_cast<std::size_t>(saturatedFrom(counts.depth()));
  for (int channel = 0; channel < counts.channels(); ++channel) {
    ChannelStatistics& one = all[static_cast<std::size_t>(channel)];
    const auto values = counts.of(channel);
    std::uint64_t samples = 0;
    std::uint64_t sum = 0;
    for (std::size_t value = 0; value < values.size(); ++value) {
      const std::uint32_t here = values[value];
      if (here == 0) continue;
      if (samples == 0) one.min = static_cast<int>(value);
      one.max = static_cast<int>(value);
      samples += here;
      sum += static_cast<std::uint64_t>(here) * value;
      one.histogram[value / perBin] += here;
      if (value >= saturated) one.saturated += here;
    }
    if (samples > 0) one.mean = static_cast<double>(sum) / static_cast<double>(samples);
  }
  return all;
}

std::vector<int> pixelAt(const ImageSource& image, int x, int y) {
  if (x < 0 || y < 0 || x >= image.size.width || y >= image.size.height) return {};
  const std::ptrdiff_t perPixel = image.samplesPerPixel();
  const auto valuesOf = [perPixel](const auto* pixel) -> std::vector<int> {
    if (perPixel == 1) return {*pixel};
    return {pixel[2], pixel[1], pixel[0]};
  };
  if (image.isWide()) return valuesOf(image.row16(y) + x * perPixel);
  return valuesOf(image.row8(y) + x * perPixel);
}

}  // namespace orvik::imaging
