// SPDX-License-Identifier: MIT
#pragma once

#include <future>
#include <optional>
#include <stop_token>

#include "imaging/cooling.h"

namespace orvik::python {

/// A camera's temperature on its way along a ramp, in a thread of its own. The destructor switches
/// the cooler off.
class CoolingRun {
 public:
  explicit CoolingRun(Camera& camera) : cooling_(camera) {}
  ~CoolingRun() { end(); }
  CoolingRun(const CoolingRun&) = delete;
  CoolingRun& operator=(const CoolingRun&) = delete;

  /// Begins a ramp from the present temperature, in the place of the former one.
  ///
  /// @param to degrees Celsius; empty for the temperature before cooling
  void begin(std::optional<double> to, double degreesPerMinute) {
    end();
    stop_ = std::stop_source();
    running_ = std::async(std::launch::async, [this, to, degreesPerMinute] {
      if (to) {
        cooling_.lead(*to, degreesPerMinute, std::nullopt, stop_.get_token());
      } else {
        cooling_.warmUp(degreesPerMinute, stop_.get_token());
      }
    });
  }

  /// Whether a warm-up has arrived.
  ///
  /// @throws Error what has ended the ramp, once
  bool isOver() {
    if (!running_.valid()) return true;
    if (running_.wait_for(std::chrono::seconds(0)) != std::future_status::ready) return false;
    running_.get();
    return true;
  }

 private:
  void end() {
    stop_.request_stop();
    if (running_.valid()) running_.wait();
  }

  imaging::Cooling cooling_;
  std::stop_source stop_;
  std::future<void> running_;
};

}  // namespace orvik::python
