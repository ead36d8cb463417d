// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "imaging/view/image_source.h"
#include "tools/orvikctl/json.h"
#include "tools/orvikctl/look/star_reading.h"

namespace orvik::ctl {

/// What one frame tells of the focus.
struct FocusSample {
  double seconds = 0;      ///< since the beginning
  std::int64_t frame = 0;  ///< counted from 1
  int depth = 255;         ///< the largest value of a sample
  imaging::Size offset;    ///< of the frame in the image that is wanted, pixels
  std::optional<StarReading> reading;
};

/// How the focus has changed, and where it was best.
class FocusCourse {
 public:
  void add(const FocusSample& sample);

  /// The sample with the smallest half-flux radius; nothing while no star was found.
  [[nodiscard]] const std::optional<FocusSample>& best() const { return best_; }
  [[nodiscard]] const FocusSample& last() const { return last_; }

  /// Half-flux radii over time, a value for each half second or, if frames are slower, each frame;
  /// the mean of its frames. NaN where no star was found.
  [[nodiscard]] const std::vector<double>& radii() const { return radii_; }
  /// The best of these radii up to then.
  [[nodiscard]] const std::vector<double>& bestRadii() const { return bestRadii_; }

 private:
  FocusSample last_;
  std::optional<FocusSample> best_;
  std::vector<double> radii_;
  std::vector<double> bestRadii_;
  double pointBegin_ = 0;
  double sum_ = 0;
  int count_ = 0;
};

/// "0:12  9 stars  HFR 2.31  FWHM 4.62  peak 48211 (74 %)  best 2.05 at 0:08".
std::string focusText(const FocusCourse& course);

/// The last sample as programs read it: `time`, `frame`, `stars`, `hfr`, `hfrBrightest`, `fwhm`,
/// `peak`, `saturated`, `x`, `y` and `best`; null for what is not known.
Json focusJson(const FocusCourse& course);

/// "best HFR 2.05 at 0:08, frame 33", or that no star was found.
std::string bestText(const FocusCourse& course);

}  // namespace orvik::ctl
