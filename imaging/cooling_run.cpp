// SPDX-License-Identifier: MIT
#include "imaging/cooling_run.h"

#include <cmath>

namespace orvik::imaging {

void CoolingRun::begin(std::optional<int> to, double degreesPerMinute) {
  const std::lock_guard lock(changes_);
  stop();
  static_cast<void>(camera_.cooler());  // throws on a camera without one
  if (to && !cooling_) cooling_.emplace(camera_);
  if (!cooling_) return;
  to_ = to;
  stop_ = std::stop_source();
  running_ = std::async(std::launch::async, [this, to, degreesPerMinute] {
    if (to) {
      cooling_->lead(*to, degreesPerMinute, std::nullopt, stop_.get_token());
    } else {
      cooling_->warmUp(degreesPerMinute, stop_.get_token());
    }
  });
}

bool CoolingRun::isOver() {
  const std::lock_guard lock(changes_);
  if (!running_.valid()) return true;
  if (running_.wait_for(std::chrono::seconds(0)) == std::future_status::ready) {
    running_.get();
    return true;
  }
  if (!to_ || camera_.get(control::kTargetTemperature) != *to_) return false;
  // The camera aims higher than it was told where it cannot measure reliably.
  const Orvik_COOLER_STATUS now = camera_.cooler();
  return now.isRegulating == Orvik_TRUE && std::abs(now.temperature / 10.0 - now.aim) <= 1;
}

void CoolingRun::end() {
  const std::lock_guard lock(changes_);
  stop();
  cooling_.reset();
}

void CoolingRun::stop() {
  stop_.request_stop();
  if (running_.valid()) running_.wait();
  running_ = {};
}

}  // namespace orvik::imaging
