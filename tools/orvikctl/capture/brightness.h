// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "imaging/view/value_counts.h"

namespace orvik::ctl {

/// How bright an image is, over the samples of all its colours.
struct Brightness {
  int depth = 0;  ///< the largest value that a sample can have
  int min = 0;
  double median = 0;
  int max = 0;
  double saturated = 0;  ///< share of the samples, 0 to 1; see imaging::saturatedFrom()
};

/// The same of several images.
struct SeriesBrightness {
  Brightness last;
  int min = 0;
  double lowestMedian = 0;
  double highestMedian = 0;
  int max = 0;
  double mostSaturated = 0;
  std::int64_t images = 0;
};

/// Of both; the last image is that of the second.
SeriesBrightness merged(const SeriesBrightness& one, const SeriesBrightness& other);

Brightness brightnessOf(const imaging::ValueCounts& counts);

/// The median of the central part of an image: half its width and half its height, where a
/// telescope's vignetting does not reach. Over the samples of all colours.
///
/// @return part of the range, 0 to 1
double centralLevel(const imaging::ImageSource& image);

/// Measures the images of a capture. One thread at a time.
class BrightnessMeter {
 public:
  /// Measures an image.
  void measure(const imaging::ImageSource& image);

  /// Measures an image of a video, unless that would take more than two percent of the time, or
  /// the last one was measured less than a quarter of a second ago. The first one is measured.
  void measureIfDue(const imaging::ImageSource& image);

  /// Nothing before the first image.
  [[nodiscard]] const std::optional<SeriesBrightness>& result() const { return result_; }

 private:
  using Clock = std::chrono::steady_clock;

  imaging::ValueCounts counts_;
  std::optional<SeriesBrightness> result_;
  Clock::time_point due_;
};

/// What is wrong with images of this kind, or "": a thousandth of the samples or more of a light or
/// a flat is saturated, or the median of a dark or a bias is above an eighth of the range.
///
/// @param kind as in imaging::ImageInfo::frameKind
std::string brightnessWarning(const SeriesBrightness& brightness, const std::string& kind);

}  // namespace orvik::ctl
