// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "sim/frame_settings.h"
#include "sim/models.h"
#include "sim/picture/hot_pixels.h"

namespace orvik::sim {

/// What the converter sees in each sample of some rows of a frame. Equal for all frames of the same
/// settings, which differ in their noise only.
struct Signal {
  static constexpr int kMeanUnits = 4;        ///< per 12-bit step
  static constexpr int kDeviationUnits = 32;  ///< per 12-bit step

  std::vector<std::int16_t> mean;       ///< row by row, 0 to 4095 steps
  std::vector<std::int16_t> deviation;  ///< standard deviation, 0 to 1023 steps
};

/// Rows of samples of a frame, without the last.
struct RowRange {
  int begin = 0;
  int end = 0;

  [[nodiscard]] int count() const { return end - begin; }
};

/// The pixels, within settings.area, that rows of samples are made of.
/// @param mosaic whether neighbouring pixels differ in colour
Area pixelsOf(const FrameSettings& settings, bool mosaic, const RowRange& rows);

/// Whose dark current and noise a signal has.
struct SensorCondition {
  PixelPhysics pixel;
  bool ideal = false;                   ///< no noise, no dark current
  std::span<const HotPixel> hotPixels;  ///< row by row
};

/// Turns the light on some rows of a frame into their signal.
///
/// - Electrons = (flux + dark current) x exposure, at most the full well. The dark current doubles
///   every 6 degrees.
/// - Steps = black level + electrons x 4095 / full scale x amplification.
/// - Variance in electrons = electrons (photon noise) + read noise squared; a full pixel has no
///   photon noise.
/// - A binned sample is the mean of the pixels of its colour in its bin x bin group.
/// - An ideal sensor's signal is rounded to whole steps here, so that no later rounding shows.
///
/// @param flux electrons per second in pixelsOf(settings, mosaic, rows)
/// @param mosaic whether neighbouring pixels differ in colour
void computeSignal(const FrameSettings& settings, const SensorCondition& condition, bool mosaic,
                   const RowRange& rows, std::span<const float> flux, Signal& signal);

}  // namespace orvik::sim
