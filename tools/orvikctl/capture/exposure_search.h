// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace orvik::ctl {

/// Finds the exposure at which images have a wanted brightness, from the brightness of trials, and
/// follows light that changes.
///
/// Levels are parts of the range, 0 to 1, and grow linearly with the exposure, from a black level
/// that the first trial shows, until the sensor saturates.
class ExposureSearch {
 public:
  using Exposure = std::chrono::microseconds;
  struct Limits {
    Exposure shortest;  ///< above 0
    Exposure longest;   ///< not below the shortest
  };
  enum class State {
    kSearching,
    kFound,      ///< the last level was the wanted one within its tolerance
    kTooBright,  ///< the shortest exposure is too long
    kTooDark,    ///< the longest exposure is too short
    kUnsteady,   ///< no exposure was found in a dozen trials
  };

  /// @param wanted level, above 0 and below 0.9
  ExposureSearch(double wanted, Limits limits);

  /// The exposure for the next image.
  [[nodiscard]] Exposure exposure() const { return exposure_; }
  [[nodiscard]] double wanted() const { return wanted_; }

  /// Takes the level of a trial with that exposure, and chooses the next one. Within 5 % of the
  /// wanted level the exposure is found.
  State tell(double level);
  /// Takes the level of an image after that. One that is off by more than 10 % changes the
  /// exposure; kFound also then.
  State follow(double level);

 private:
  struct Point {
    Exposure exposure;
    double level;
  };

  State judge(double level, double tolerance);
  State step(double level);
  void moveTo(double microseconds);

  double wanted_;
  Limits limits_;
  Exposure exposure_;
  std::optional<Point> black_;         ///< the trial with the shortest exposure
  std::optional<Exposure> tooBright_;  ///< the shortest one that was saturated
  int trials_ = 0;
};

/// Reads a level: "30000" of 16 bits, or "50%". From 5 to 90 %.
std::optional<double> parseLevel(const std::string& text);

}  // namespace orvik::ctl
