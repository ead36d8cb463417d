// SPDX-License-Identifier: MIT
#include "algorithm/exposure_law.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

namespace orvik {
namespace {

constexpr int kToleratedPercent = 15;
constexpr uint64_t kLongExposureUs = 100'000;
constexpr int kLowestGain = 1;  ///< with exposure and gain on automatic

/// The nearest int: goal and gain may be anything.
int toInt(int64_t value) {
  return static_cast<int>(
      std::clamp<int64_t>(value, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

class Step {
 public:
  Step(int brightness, const ExposureGoal& goal, ExposureDials& dials)
      : goal_(goal), dials_(dials), excess_(int64_t{brightness} - goal.brightness) {}

  [[nodiscard]] bool isTooBright() const { return excess_ > shareOfGoal(kToleratedPercent); }
  [[nodiscard]] bool isTooDark() const { return -excess_ > shareOfGoal(kToleratedPercent); }

  void darken() {
    if (!goal_.exposureAuto) {
      turnGain(-smallGainStep());  // as low as the model goes
      return;
    }
    if (isLong()) {
      dials_.setExposure(shorterExposure());
      return;
    }
    if (!isTooCoarse()) dials_.setExposure(shorterExposure());
    if (!goal_.gainAuto) return;
    lowerGain();
    if (dials_.exposureLines() < 3) lowerGain();  // there is hardly any time left to give back
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
      // Time is dear by now: all the gain that is allowed comes first.
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
  [[nodiscard]] int64_t shareOfGoal(int percent) const {
    return int64_t{goal_.brightness} * percent / 100;
  }
  [[nodiscard]] bool isLong() const { return dials_.exposureUs() > kLongExposureUs; }

  /// Whether one line more or less would do more than the error asks for.
  [[nodiscard]] bool isTooCoarse() const {
    const uint32_t lines = dials_.exposureLines();
    const int64_t error = std::abs(excess_);
    return (lines < 3 && error < shareOfGoal(30)) || (lines < 2 && error < shareOfGoal(45));
  }

  // One and two percent of the range. Below a hundred steps one percent of them is less than one,
  // and a gain that steps by 0 would never come down again.
  [[nodiscard]] int64_t smallGainStep() const { return std::max(goal_.gainRange / 100, 1); }
  [[nodiscard]] int64_t largeGainStep() const {
    return std::max<int64_t>(int64_t{2} * goal_.gainRange / 100, 1);
  }

  void turnGain(int64_t by) { dials_.setGain(toInt(dials_.gain() + by)); }
  void lowerGain() {
    dials_.setGain(toInt(std::max<int64_t>(kLowestGain, dials_.gain() - smallGainStep())));
  }
  void raiseGain(int64_t by) {
    dials_.setGain(toInt(std::min<int64_t>(dials_.gain() + by, goal_.maxGain)));
  }

  /// The exposure times the error, over `divisor`. No exposure of a camera comes near the 2^32
  /// microseconds from which the product could wrap around, which the unsigned type makes harmless.
  [[nodiscard]] int64_t change(int64_t error, int64_t divisor) const {
    return static_cast<int64_t>(dials_.exposureUs() * static_cast<uint64_t>(error)) / divisor;
  }

  [[nodiscard]] uint64_t shorterExposure() const {
    const uint64_t shorter = dials_.exposureUs() - static_cast<uint64_t>(change(excess_, 400));
    // A goal below any brightness can ask for less than nothing.
    return static_cast<int64_t>(shorter) < 0 ? 0 : shorter;
  }

  [[nodiscard]] uint64_t longerExposure() const {
    // Within 32 bits, which hold 4294 s, more than any camera's longest; beyond that it wraps
    // around.
    const uint32_t limitUs = static_cast<uint32_t>(goal_.maxExposureSeconds) * 1'000'000U;
    const uint64_t longer = dials_.exposureUs() + static_cast<uint64_t>(change(-excess_, 200));
    return std::min<uint64_t>(longer, limitUs);
  }

  const ExposureGoal& goal_;
  ExposureDials& dials_;
  const int64_t excess_;  ///< of brightness over the goal
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
