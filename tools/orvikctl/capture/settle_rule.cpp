// SPDX-License-Identifier: MIT
#include "tools/orvikctl/capture/settle_rule.h"

#include <cmath>
#include <numeric>

namespace orvik::ctl {
namespace {

constexpr double kNear = 1;  // degrees
constexpr double kNearOnAverage = 0.5;
constexpr double kPatience = 900;  // seconds
constexpr int kFullPower = 99;     // percent
constexpr double kStuckSeconds = 120;
constexpr double kStuckDegrees = 0.5;

}  // namespace

SettleRule::State SettleRule::next(const imaging::CoolingSample& sample) {
  if (sample.target != target_) return State::kOnTheWay;
  if (!rampEnd_) rampEnd_ = sample.seconds;

  if (!isNear(sample)) near_.clear();
  if (isNear(sample)) near_.push_back(sample);
  const double window = settle_.value_or(0);
  // The oldest sample that is kept is as old as the window, or the next younger one is not.
  while (near_.size() > 1 && sample.seconds - near_[1].seconds >= window) near_.pop_front();
  if (holds(sample)) return State::kHolds;

  if (sample.power < kFullPower) fullPower_.reset();
  // Colder by half a degree is progress, from which the wait begins anew.
  const bool isColder = fullPower_ && sample.temperature <= fullPower_->temperature - kStuckDegrees;
  if (sample.power >= kFullPower && (!fullPower_ || isColder)) fullPower_ = sample;
  const bool isLate = sample.seconds - *rampEnd_ > kPatience + window;
  return isLate || isStuck(sample) ? State::kOutOfReach : State::kOnTheWay;
}

bool SettleRule::isNear(const imaging::CoolingSample& sample) const {
  return sample.fault == Orvik_COOLER_NO_FAULT && std::abs(sample.temperature - target_) <= kNear;
}

bool SettleRule::holds(const imaging::CoolingSample& now) const {
  if (near_.empty()) return false;
  if (!settle_) return true;
  if (now.seconds - near_.front().seconds < *settle_) return false;
  const double sum = std::accumulate(
      near_.begin(), near_.end(), 0.0,
      [](double all, const imaging::CoolingSample& one) { return all + one.temperature; });
  return std::abs(sum / static_cast<double>(near_.size()) - target_) <= kNearOnAverage;
}

bool SettleRule::isStuck(const imaging::CoolingSample& now) const {
  return fullPower_ && !isNear(now) && now.temperature > target_ &&
         now.seconds - fullPower_->seconds >= kStuckSeconds;
}

}  // namespace orvik::ctl
