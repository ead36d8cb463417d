// SPDX-License-Identifier: MIT
#include "tools/orvikctl/capture/sensor_cooling.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <iostream>

#include "imaging/cooling_ramp.h"
#include "tools/orvikctl/interrupt.h"
#include "tools/orvikctl/units.h"

namespace orvik::ctl {

void requireTarget(const Camera& camera, int target) {
  const Control* control = camera.control(Orvik_CTL_TARGET_TEMP);
  if (control == nullptr) throw Failure(ExitCode::kUsage, "this camera has no cooler.");
  if (target < control->min() || target > control->max()) {
    throw Failure(ExitCode::kUsage, "this camera's cooler takes targets from " +
                                        std::to_string(control->min()) + " to " +
                                        std::to_string(control->max()) + " degC.");
  }
}

namespace {

Camera& checked(Camera& camera, int target) {
  requireTarget(camera, target);
  return camera;
}

}  // namespace

SensorCooling::SensorCooling(Camera& camera, const CoolingPlan& plan, bool quiet)
    : camera_(camera),
      plan_(plan),
      quiet_(quiet),
      line_(!quiet),
      cooling_(checked(camera, plan.target),
               [this](const imaging::CoolingSample& sample) { onSample(sample); }) {}

bool SensorCooling::coolDown(const std::stop_token& stop) {
  const double from = camera_.cooler().temperature / 10.0;
  if (!quiet_) {
    std::cerr << "cooling from " << fixedText(from, 1) << " to " << plan_.target << " degC, "
              << plan_.ramp << " degrees a minute\n";
  }
  hasBegun_ = true;
  rule_.emplace(plan_.target, plan_.settle);
  state_ = SettleRule::State::kOnTheWay;
  arrived_ = std::stop_source();
  leadSeconds_ =
      cooling_.last().seconds + imaging::CoolingRamp(from, plan_.target, plan_.ramp).duration();
  {
    const std::stop_callback stopEarly(stop, [this] { arrived_.request_stop(); });
    cooling_.lead(plan_.target, plan_.ramp, std::nullopt, arrived_.get_token());
  }
  rule_.reset();
  line_.wipe();
  if (state_ == SettleRule::State::kOutOfReach) {
    throw Failure(ExitCode::kCameraFailed, outOfReachText());
  }
  if (state_ != SettleRule::State::kHolds) return false;
  if (!quiet_) {
    std::cerr << "the sensor holds " << fixedText(cooling_.last().temperature, 1) << " degC with "
              << cooling_.last().power << " % of the cooler's power\n";
  }
  return true;
}

bool SensorCooling::coolDownAgain(const std::stop_token& stop) {
  cooling_.reopened();
  return coolDown(stop);
}

bool SensorCooling::warmUp() {
  if (plan_.keepCold || !hasBegun_) return true;
  catchInterrupts();  // the first Ctrl-C has asked for this
  if (!quiet_) std::cerr << "warming up; Ctrl-C ends at once\n";
  leadSeconds_ = cooling_.last().seconds +
                 imaging::CoolingRamp(cooling_.last().temperature, cooling_.startedAt(), plan_.ramp)
                     .duration();
  const bool complete = cooling_.warmUp(plan_.ramp, interruption());
  line_.wipe();
  return complete;
}

void SensorCooling::onSample(const imaging::CoolingSample& sample) {
  faults_.note(sample.fault);
  const double left = std::max(0.0, leadSeconds_ - sample.seconds);
  line_.show(coolingText(sample) + ", ramp " + clockText(left) + " left");
  if (!rule_) return;
  state_ = rule_->next(sample);
  if (state_ != SettleRule::State::kOnTheWay) arrived_.request_stop();
}

std::string SensorCooling::outOfReachText() const {
  const imaging::CoolingSample& now = cooling_.last();
  return "the cooler does not hold " + std::to_string(plan_.target) + " degC: the sensor is at " +
         fixedText(now.temperature, 1) + " degC with " + std::to_string(now.power) +
         " % of its power. Choose a temperature that is less cold with --cool.";
}

}  // namespace orvik::ctl
