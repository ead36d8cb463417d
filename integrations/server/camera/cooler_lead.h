// SPDX-License-Identifier: MIT
#pragma once

#include <optional>

#include "imaging/cooling_run.h"
#include "integrations/server/camera/status.h"
#include "orvik/orvik.hpp"

namespace orvik::server {

/// The cooler of an open camera: along a ramp, or set at once. One thread at a time.
class CoolerLead {
 public:
  explicit CoolerLead(Camera& camera) : camera_(camera), ramp_(camera) {}

  // As those of ServedCamera. They throw FailureException (kBadValue) or Error.
  void coolTo(int celsius, double degreesPerMinute);
  void warmUp(double degreesPerMinute);
  void set(std::optional<bool> on, std::optional<int> target);

  /// The present state. Ends a warm-up that has arrived.
  CoolingState look();

 private:
  void requireTarget(int celsius) const;
  void endRamp();

  Camera& camera_;
  imaging::CoolingRun ramp_;
  std::optional<int> rampEnd_;
  bool isWarmingUp_ = false;
  std::optional<double> warm_;  // the sensor's temperature before the cooler was switched on
};

}  // namespace orvik::server
