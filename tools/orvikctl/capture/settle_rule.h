// SPDX-License-Identifier: MIT
#pragma once

#include <deque>
#include <optional>

#include "imaging/cooling.h"

namespace orvik::ctl {

/// Decides when a sensor that is being cooled is cold enough for the first image.
///
/// Without a settling time that is when the ramp is at its end and the temperature within a degree.
/// With one the temperature must have been within a degree for that time, and within half a degree
/// on average. The thermistor shows steps of half a degree.
class SettleRule {
 public:
  enum class State { kOnTheWay, kHolds, kOutOfReach };

  /// @param settleSeconds above 0
  SettleRule(int target, std::optional<double> settleSeconds)
      : target_(target), settle_(settleSeconds) {}

  /// Judges with one more sample; about one a second. Once the ramp is at its end, the target is
  /// out of reach when the cooler has had its full power for two minutes without getting colder, or
  /// when a quarter of an hour beyond the settling time has gone by.
  State next(const imaging::CoolingSample& sample);

 private:
  [[nodiscard]] bool isNear(const imaging::CoolingSample& sample) const;
  [[nodiscard]] bool holds(const imaging::CoolingSample& now) const;
  [[nodiscard]] bool isStuck(const imaging::CoolingSample& now) const;

  int target_;
  std::optional<double> settle_;
  std::optional<double> rampEnd_;                    ///< seconds, as in the samples
  std::deque<imaging::CoolingSample> near_;          ///< the latest ones, all within a degree
  std::optional<imaging::CoolingSample> fullPower_;  ///< since when the power has been at its limit
};

}  // namespace orvik::ctl
