// SPDX-License-Identifier: MIT
#include "tools/orvikctl/capture/brightness.h"

#include <algorithm>
#include <functional>
#include <vector>

#include "imaging/view/frame_statistics.h"
#include "tools/orvikctl/units.h"

namespace orvik::ctl {
namespace {

constexpr double kMuchSaturated = 0.001;
constexpr double kBrightDark = 0.125;

}  // namespace

SeriesBrightness merged(const SeriesBrightness& one, const SeriesBrightness& other) {
  return {.last = other.last,
          .min = std::min(one.min, other.min),
          .lowestMedian = std::min(one.lowestMedian, other.lowestMedian),
          .highestMedian = std::max(one.highestMedian, other.highestMedian),
          .max = std::max(one.max, other.max),
          .mostSaturated = std::max(one.mostSaturated, other.mostSaturated),
          .images = one.images + other.images};
}

Brightness brightnessOf(const imaging::ValueCounts& counts) {
  const auto first = counts.of(0);
  std::vector<std::uint32_t> all(first.begin(), first.end());
  for (int channel = 1; channel < counts.channels(); ++channel) {
    std::ranges::transform(all, counts.of(channel), all.begin(), std::plus<>());
  }
  Brightness brightness{.depth = counts.depth()};
  brightness.median = std::max(0.0, imaging::quantile(all, 0.5));
  std::uint64_t samples = 0;
  std::uint64_t saturated = 0;
  for (int value = 0; value <= counts.depth(); ++value) {
    const std::uint32_t here = all[static_cast<std::size_t>(value)];
    if (here == 0) continue;
    if (samples == 0) brightness.min = value;
    brightness.max = value;
    samples += here;
    if (value >= imaging::saturatedFrom(counts.depth())) saturated += here;
  }
  if (samples > 0) {
    brightness.saturated = static_cast<double>(saturated) / static_cast<double>(samples);
  }
  return brightness;
}

double centralLevel(const imaging::ImageSource& image) {
  // Whole 2 x 2 cells, so that the colours of a mosaic keep their shares.
  const auto half = [](int length) { return std::max(length / 4 * 2, 1); };
  const auto start = [](int length) { return length / 8 * 2; };
  const auto bytes = static_cast<std::size_t>(bytesPerPixel(image.type));
  imaging::ImageSource part = image;
  part.size = {half(image.size.width), half(image.size.height)};
  std::vector<std::uint8_t> pixels;
  const std::size_t rowBytes = static_cast<std::size_t>(part.size.width) * bytes;
  pixels.reserve(rowBytes * static_cast<std::size_t>(part.size.height));
  for (int y = 0; y < part.size.height; ++y) {
    const auto first = static_cast<std::size_t>(start(image.size.height) + y) *
                           static_cast<std::size_t>(image.size.width) +
                       static_cast<std::size_t>(start(image.size.width));
    const auto row = image.pixels.subspan(first * bytes, rowBytes);
    pixels.insert(pixels.end(), row.begin(), row.end());
  }
  part.pixels = pixels;
  imaging::ValueCounts counts;
  counts.count(part);
  return brightnessOf(counts).median / counts.depth();
}

void BrightnessMeter::measure(const imaging::ImageSource& image) {
  counts_.count(image);
  const Brightness now = brightnessOf(counts_);
  const SeriesBrightness alone{now, now.min, now.median, now.median, now.max, now.saturated, 1};
  result_ = result_ ? merged(*result_, alone) : alone;
}

void BrightnessMeter::measureIfDue(const imaging::ImageSource& image) {
  constexpr auto kLeast = std::chrono::milliseconds(250);
  constexpr int kShare = 50;  // of the time
  const auto begun = Clock::now();
  if (begun < due_) return;
  measure(image);
  due_ = Clock::now() + std::max<Clock::duration>(kLeast, kShare * (Clock::now() - begun));
}

std::string brightnessWarning(const SeriesBrightness& brightness, const std::string& kind) {
  const bool isDark = kind.starts_with("Dark") || kind.starts_with("Bias");
  if (!isDark && brightness.mostSaturated >= kMuchSaturated) {
    return fixedText(100 * brightness.mostSaturated, 1) +
           " % of the samples are saturated: a shorter --exposure or less --gain keeps them";
  }
  if (isDark && brightness.highestMedian > kBrightDark * brightness.last.depth) {
    return "the median of a dark image is " +
           fixedText(100 * brightness.highestMedian / brightness.last.depth, 0) +
           " % of the range: does light reach the sensor?";
  }
  return "";
}

}  // namespace orvik::ctl
