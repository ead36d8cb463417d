// SPDX-License-Identifier: MIT
#pragma once

#include <stop_token>

#include "imaging/cooling.h"
#include "tools/orvikctl/capture/cooling_options.h"
#include "tools/orvikctl/capture/settle_rule.h"
#include "tools/orvikctl/cooling_display.h"
#include "tools/orvikctl/progress.h"

namespace orvik::ctl {

/// Throws a Failure (kUsage) unless the camera has a cooler that takes this target.
void requireTarget(const Camera& camera, int target);

/// The cooling of a capture: down before it, up after it. In between the camera regulates by
/// itself. What happens is shown on standard error.
class SensorCooling {
 public:
  /// @param camera exists as long as this object
  /// @throws Failure (kUsage) as requireTarget(), Error if the temperature cannot be read
  SensorCooling(Camera& camera, const CoolingPlan& plan, bool quiet);
  SensorCooling(const SensorCooling&) = delete;
  SensorCooling& operator=(const SensorCooling&) = delete;

  /// Cools along the ramp until the temperature holds; see SettleRule.
  ///
  /// @return false when a stop was requested
  /// @throws Failure (kCameraFailed) if the cooler cannot reach the target, Error
  bool coolDown(const std::stop_token& stop);
  /// The same after the camera was opened again.
  bool coolDownAgain(const std::stop_token& stop);

  /// Warms up along the ramp, unless the plan is to stay cold. Ctrl-C, also a second one, ends it.
  ///
  /// @return false when it was ended early
  /// @throws Error if the camera fails
  bool warmUp();

 private:
  void onSample(const imaging::CoolingSample& sample);
  [[nodiscard]] std::string outOfReachText() const;

  Camera& camera_;
  CoolingPlan plan_;
  bool quiet_;
  ProgressLine line_;
  CoolerFaultNotes faults_;
  imaging::Cooling cooling_;
  std::optional<SettleRule> rule_;
  SettleRule::State state_ = SettleRule::State::kOnTheWay;
  std::stop_source arrived_;
  double leadSeconds_ = 0;  ///< when the present ramp ends
  bool hasBegun_ = false;
};

}  // namespace orvik::ctl
