// SPDX-License-Identifier: MIT
#include "sim/picture/signal.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>

#include "sim/random.h"

namespace orvik::sim {
namespace {

constexpr float kTop = 4095;
// What an untrimmed sensor does; in steps but for the last.
constexpr float kReferenceOffset = 700;
constexpr std::uint64_t kColumnOffsets = 500;
constexpr double kConverterShare = 0.25;

constexpr float kLargestDeviation = 32767.0F / Signal::kDeviationUnits;

/// The constants of one exposure.
struct Conversion {
  float seconds;
  float darkCurrent;  ///< electrons per second
  double darkFactor;  ///< on the dark current at 20 degrees
  float fullWell;
  float stepsPerElectron;
  float blackLevel;
  float readVariance;  ///< electrons squared
  bool ideal;

  Conversion(const FrameSettings& settings, const SensorCondition& condition)
      : seconds(std::chrono::duration<float>(settings.exposure).count()),
        darkFactor(std::exp2((settings.celsius - 20) / 6)),
        fullWell(static_cast<float>(condition.pixel.fullWell)),
        stepsPerElectron(
            static_cast<float>(4095 / condition.pixel.fullScale * settings.amplification *
                               (settings.flaws.converter ? kConverterShare : 1))),
        blackLevel(static_cast<float>(settings.blackLevel) +
                   (settings.flaws.reference ? kReferenceOffset : 0)),
        readVariance(static_cast<float>(condition.pixel.readNoise * condition.pixel.readNoise)),
        ideal(condition.ideal) {
    darkCurrent = ideal ? 0 : static_cast<float>(condition.pixel.darkCurrent * darkFactor);
  }
};

/// A row of pixels, or the sums of the pixels of a row of samples.
struct Row {
  std::vector<float> steps;
  std::vector<float> variance;  ///< steps squared

  explicit Row(std::size_t count) : steps(count), variance(count) {}
  void clear() {
    std::ranges::fill(steps, 0.0F);
    std::ranges::fill(variance, 0.0F);
  }
};

/// Where the pixels of sample `index` begin, along one axis: in groups of one colour that keep the
/// mosaic's order, so that sample 0 takes pixels 0, 2, ... and sample 1 takes 1, 3, ...
int firstPixel(int index, int bin, bool mosaic) {
  return mosaic ? (index / 2) * 2 * bin + (index & 1) : index * bin;
}

void fillElectrons(std::span<const float> flux, const Conversion& c, std::span<float> electrons) {
  for (std::size_t x = 0; x < flux.size(); ++x) {
    electrons[x] = (flux[x] + c.darkCurrent) * c.seconds;
  }
}

void addHotPixels(const SensorCondition& condition, const Conversion& c, const Area& area, int row,
                  std::span<float> electrons) {
  if (c.ideal) return;
  const int y = area.y + row;
  const auto end = condition.hotPixels.end();
  for (auto pixel = std::ranges::lower_bound(condition.hotPixels, y, {}, &HotPixel::y);
       pixel != end && pixel->y == y; ++pixel) {
    const int x = pixel->x - area.x;
    if (x < 0 || x >= area.width) continue;
    electrons[static_cast<std::size_t>(x)] +=
        static_cast<float>(pixel->darkCurrent * c.darkFactor) * c.seconds;
  }
}

void convertPixels(std::span<const float> electrons, const Conversion& c, Row& pixels) {
  const float squared = c.stepsPerElectron * c.stepsPerElectron;
  for (std::size_t x = 0; x < electrons.size(); ++x) {
    const float kept = std::min(electrons[x], c.fullWell);
    const float photonVariance = electrons[x] < c.fullWell ? kept : 0.0F;
    pixels.steps[x] = c.blackLevel + kept * c.stepsPerElectron;
    pixels.variance[x] = (c.readVariance + photonVariance) * squared;
  }
}

/// The offsets of column amplifiers that nobody has trimmed belong to the columns of the sensor.
void addColumnOffsets(const Area& area, Row& pixels) {
  for (std::size_t x = 0; x < pixels.steps.size(); ++x) {
    const std::uint64_t column = static_cast<std::uint64_t>(area.x) + x;
    pixels.steps[x] += static_cast<float>(scramble(column) % kColumnOffsets);
  }
}

/// Adds a row of pixels to the sums of its samples.
void addRow(const Row& pixels, int bin, bool mosaic, Row& sums) {
  const std::size_t step = mosaic && bin > 1 ? 2 : 1;
  for (std::size_t x = 0; x < sums.steps.size(); ++x) {
    const auto first = static_cast<std::size_t>(firstPixel(static_cast<int>(x), bin, mosaic));
    for (std::size_t n = 0; n < static_cast<std::size_t>(bin); ++n) {
      sums.steps[x] += pixels.steps[first + n * step];
      sums.variance[x] += pixels.variance[first + n * step];
    }
  }
}

/// The nearest whole number; `value` is not below 0.
int nearest(float value) {
  constexpr float kHalf = 0.5F;
  return static_cast<int>(value + kHalf);
}

void storeRow(const Row& sums, int bin, bool ideal, std::span<std::int16_t> mean,
              std::span<std::int16_t> deviation) {
  const float share = 1.0F / static_cast<float>(bin * bin);
  for (std::size_t x = 0; x < mean.size(); ++x) {
    const float steps = sums.steps[x] * share;
    const float level = std::min(ideal ? static_cast<float>(nearest(steps)) : steps, kTop);
    // The mean is stored no higher than the converter's top. Far above it no noise reaches back
    // into the converter's range, so the noise must shrink by as much as the mean lost.
    const float lost = std::max(steps - kTop, 0.0F) / 3;
    const float spread = std::max(std::sqrt(sums.variance[x]) * share - lost, 0.0F);
    const float stored = ideal ? 0.0F : std::min(spread, kLargestDeviation);
    mean[x] = static_cast<std::int16_t>(nearest(level * Signal::kMeanUnits));
    deviation[x] = static_cast<std::int16_t>(nearest(stored * Signal::kDeviationUnits));
  }
}

}  // namespace

Area pixelsOf(const FrameSettings& settings, bool mosaic, const RowRange& rows) {
  const Area& area = settings.area;
  // Samples of a mosaic are made in pairs of rows, which share a group of rows of pixels.
  const int group = mosaic && settings.bin > 1 ? 2 : 1;
  const int first = rows.begin / group * group * settings.bin;
  const int end = (rows.end + group - 1) / group * group * settings.bin;
  return {area.x, area.y + first, area.width, std::min(end, area.height) - first};
}

void computeSignal(const FrameSettings& settings, const SensorCondition& condition, bool mosaic,
                   const RowRange& rows, std::span<const float> flux, Signal& signal) {
  const Conversion conversion(settings, condition);
  const auto columns = static_cast<std::size_t>(settings.columns);
  const auto count = static_cast<std::size_t>(rows.count());
  const auto width = static_cast<std::size_t>(settings.area.width);
  const int lit = pixelsOf(settings, mosaic, rows).y - settings.area.y;
  const int step = mosaic && settings.bin > 1 ? 2 : 1;
  signal.mean.resize(columns * count);
  signal.deviation.resize(columns * count);

  std::vector<float> electrons(width);
  Row pixels(width);
  Row sums(columns);
  for (std::size_t y = 0; y < count; ++y) {
    sums.clear();
    for (int n = 0; n < settings.bin; ++n) {
      const int row = firstPixel(rows.begin + static_cast<int>(y), settings.bin, mosaic) + n * step;
      fillElectrons(flux.subspan(static_cast<std::size_t>(row - lit) * width, width), conversion,
                    electrons);
      addHotPixels(condition, conversion, settings.area, row, electrons);
      convertPixels(electrons, conversion, pixels);
      if (settings.flaws.columns) addColumnOffsets(settings.area, pixels);
      if (settings.bin > 1) addRow(pixels, settings.bin, mosaic, sums);
    }
    storeRow(settings.bin > 1 ? sums : pixels, settings.bin, conversion.ideal,
             std::span(signal.mean).subspan(y * columns, columns),
             std::span(signal.deviation).subspan(y * columns, columns));
  }
}

}  // namespace orvik::sim
