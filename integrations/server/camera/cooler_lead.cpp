// SPDX-License-Identifier: MIT
#include "integrations/server/camera/cooler_lead.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "integrations/server/camera/failure.h"

namespace orvik::server {
namespace {

constexpr double kSlowest = 0.1;   // degrees a minute
constexpr double kFastest = 1000;  // at once

[[noreturn]] void refuse(std::string message) {
  throw FailureException({Failure::Kind::kBadValue, Orvik_OK, std::move(message)});
}

void requireRate(double degreesPerMinute) {
  if (!(degreesPerMinute >= kSlowest && degreesPerMinute <= kFastest)) {
    refuse("A ramp has 0.1 to 1000 degrees a minute.");
  }
}

}  // namespace

void CoolerLead::coolTo(int celsius, double degreesPerMinute) {
  requireTarget(celsius);
  requireRate(degreesPerMinute);
  if (!camera_.get(control::kCoolerOn)) {
    // The ramp begins on a thread of its own; whoever asked is told when the cooler is on.
    const double now = camera_.get(control::kTemperature).degrees;
    const Control* target = camera_.control(control::kTargetTemperature);
    const double from = std::clamp<double>(now, target->min(), target->max());
    camera_.set(control::kTargetTemperature, static_cast<int>(std::lround(from)));
    camera_.set(control::kCoolerOn, true);
    warm_ = now;
  }
  ramp_.begin(celsius, degreesPerMinute);
  rampEnd_ = celsius;
  isWarmingUp_ = false;
}

void CoolerLead::warmUp(double degreesPerMinute) {
  requireRate(degreesPerMinute);
  if (!camera_.get(control::kCoolerOn)) return;
  const Control* target = camera_.control(control::kTargetTemperature);
  const double warm = warm_.value_or(target->max());
  const int to = static_cast<int>(std::lround(std::min<double>(warm, target->max())));
  ramp_.begin(to, degreesPerMinute);
  rampEnd_ = to;
  isWarmingUp_ = true;
}

void CoolerLead::set(std::optional<bool> on, std::optional<int> target) {
  if (target) requireTarget(*target);
  const bool wasOn = camera_.get(control::kCoolerOn);
  endRamp();
  if (target) camera_.set(control::kTargetTemperature, *target);
  if (on.value_or(wasOn)) {
    if (!wasOn) warm_ = camera_.get(control::kTemperature).degrees;
    camera_.set(control::kCoolerOn, true);
  } else {
    camera_.set(control::kCoolerOn, false);
    warm_.reset();
  }
}

CoolingState CoolerLead::look() {
  if (isWarmingUp_ && ramp_.isOver()) {
    endRamp();
    warm_.reset();
  }
  const Orvik_COOLER_STATUS status = camera_.cooler();
  const int target = camera_.get(control::kTargetTemperature);
  const bool isOnItsWay = isWarmingUp_ || rampEnd_ != target;
  return {.isOn = status.isRegulating == Orvik_TRUE,
          .target = target,
          .rampEnd = isOnItsWay ? rampEnd_ : std::nullopt,
          .isWarmingUp = isWarmingUp_,
          .power = status.power,
          .fault = status.fault};
}

void CoolerLead::requireTarget(int celsius) const {
  const Control* target = camera_.control(control::kTargetTemperature);
  if (target == nullptr) refuse("The camera has no cooler.");
  if (celsius < target->min() || celsius > target->max()) {
    refuse("The cooler takes " + std::to_string(target->min()) + " to " +
           std::to_string(target->max()) + " degrees.");
  }
}

void CoolerLead::endRamp() {
  if (!rampEnd_) return;
  ramp_.end();
  rampEnd_.reset();
  isWarmingUp_ = false;
}

}  // namespace orvik::server
