// SPDX-License-Identifier: MIT
#include "algorithm/exposure_law.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

namespace orvik {
namespace {

constexpr int kToleratedPercent = 15;
constexpr std::uint64_t kLongExposureUs = 100'000;
constexpr int kLowestGain = 1;  ///< with automatic exposure and gain

/// The nearest int. Goal and gain may have any value.
int toInt(std::int64_t value) {
  return static_cast<int>(std::clamp<std::int64_t>(value, std::numeric_limits<int>::min(),
                                                   std::numeric_limits<int>::max()));
}

class Step {
 public:
  Step(int brightness, const ExposureGoal& goal, ExposureDials& dials)
      : goal_(goal), dials_(dials), excess_(std::int64_t{brightness} - goal.brightness) {}

  [[nodiscard]] bool isTooBright() const { return excess_ > shareOfGoal(kToleratedPercent); }
  [[nodiscard]] bool isTooDark() const { return -excess_ > shareOfGoal(kToleratedPercent); }

  void darken() {
    if (!goal_.exposureAuto) {
      turnGain(-smallGainStep());  // the model limits it
      return;
    }
    if (isLong()) {
      dials_.setExposure(shorterExposure());
      return;
    }
    if (!isTooCoarse()) dials_.setExposure(shorterExposure());
    if (!goal_.gainAuto) return;
    lowerGain();
    if (dials_.exposureLines() < 3) lowerGain();  // the exposure can hardly become shorter
  }

  void brighten() {
    if (!goal_.exposureAuto) {
      raiseGain(largeGainStep());
      return;
    }
    if (!goal_.gainAuto) {
      if (!isTooCoarse()) dials_.setExposure(longerExposure());
      return;
    }
    raiseGain(smallGainStep());
    if (isLong()) {
      // The exposure is long already: raise the gain to its maximum first.
      if (dials_.gain() < goal_.maxGain) {
        raiseGain(largeGainStep());
      } else {
        dials_.setExposure(longerExposure());
      }
      return;
    }
    if (!isTooCoarse()) dials_.setExposure(longerExposure());
    raiseGain(smallGainStep());
  }

 private:
  [[nodiscard]] std::int64_t shareOfGoal(int percent) const {
    return std::int64_t{goal_.brightness} * percent / 100;
  }
  [[nodiscard]] bool isLong() const { return dials_.exposureUs() > kLongExposureUs; }

  /// Whether one line more or less would change the brightness by more than the error.
  [[nodiscard]] bool isTooCoarse() const {
    const std::uint32_t lines = dials_.exposureLines();
    const std::int64_t error = std::abs(excess_);
    return (lines < 3 && error < shareOfGoal(30)) || (lines < 2 && error < shareOfGoal(45));
  }

  // One and two percent of the range. In a range below 100, one percent is less than one step, and
  // a gain that changes by 0 would never come down again.
  [[nodiscard]] std::int64_t smallGainStep() const { return std::max(goal_.gainRange / 100, 1); }
  [[nodiscard]] std::int64_t largeGainStep() const {
    return std::max<std::int64_t>(std::int64_t{2} * goal_.gainRange / 100, 1);
  }

  void turnGain(std::int64_t by) { dials_.setGain(toInt(dials_.gain() + by)); }
  void lowerGain() {
    dials_.setGain(toInt(std::max<std::int64_t>(kLowestGain, dials_.gain() - smallGainStep())));
  }
  void raiseGain(std::int64_t by) {
    dials_.setGain(toInt(std::min<std::int64_t>(dials_.gain() + by, goal_.maxGain)));
  }

  /// The exposure times the error, divided by `divisor`. The product could wrap around from 2^32
  /// microseconds on, which no exposure of a camera comes near; with the unsigned type, wrapping
  /// around is harmless.
  [[nodiscard]] std::int64_t change(std::int64_t error, std::int64_t divisor) const {
    return static_cast<std::int64_t>(dials_.exposureUs() * static_cast<std::uint64_t>(error)) /
           divisor;
  }

  [[nodiscard]] std::uint64_t shorterExposure() const {
    const std::uint64_t shorter =
        dials_.exposureUs() - static_cast<std::uint64_t>(change(excess_, 400));
    // With a goal below any brightness the result can be negative.
    return static_cast<std::int64_t>(shorter) < 0 ? 0 : shorter;
  }

  [[nodiscard]] std::uint64_t longerExposure() const {
    // 32 bits hold 4294 s, more than the longest exposure of any camera; a larger value wraps
    // around.
    const std::uint32_t limitUs = static_cast<std::uint32_t>(goal_.maxExposureSeconds) * 1'000'000U;
    const std::uint64_t longer =
        dials_.exposureUs() + static_cast<std::uint64_t>(change(-excess_, 200));
    return std::min<std::uint64_t>(longer, limitUs);
  }

  const ExposureGoal& goal_;
  ExposureDials& dials_;
  const std::int64_t excess_;  ///< brightness above the goal
};

}  // namespace

void regulateExposure(int brightness, const ExposureGoal& goal, ExposureDials& dials) {
  if (!goal.exposureAuto && !goal.gainAuto) return;
  Step step(brightness, goal, dials);
  if (step.isTooBright()) {
    step.darken();
  } else if (step.isTooDark()) {
    step.brighten();
  }
}

}  // namespace orvik
