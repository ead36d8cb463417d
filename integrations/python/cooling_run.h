// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <exception>
#include <mutex>
#include <optional>
#include <thread>

#include "imaging/cooling.h"

namespace orvik::python {

/// A camera's temperature on its way along a ramp, in a thread of its own. The destructor switches
/// the cooler off.
class CoolingRun {
 public:
  /// How it stands; without a ramp there is no sample.
  struct Status {
    std::optional<imaging::CoolingSample> sample;
    bool isOver = true;  ///< no ramp, or a warm-up that has arrived
  };

  explicit CoolingRun(Camera& camera)
      : cooling_(camera, [this](const imaging::CoolingSample& sample) {
          const std::lock_guard lock(mutex_);
          last_ = sample;
        }) {}

  /// Begins a ramp from the present temperature, in the place of the former one.
  ///
  /// @param to degrees Celsius; empty for the temperature before cooling
  void begin(std::optional<double> to, double degreesPerMinute) {
    thread_ = std::jthread();
    isOver_ = false;
    thread_ = std::jthread([this, to, degreesPerMinute](const std::stop_token& stop) {
      try {
        if (to) {
          cooling_.lead(*to, degreesPerMinute, std::nullopt, stop);
        } else {
          cooling_.warmUp(degreesPerMinute, stop);
        }
      } catch (const Error&) {
        const std::lock_guard lock(mutex_);
        error_ = std::current_exception();
      }
      isOver_ = true;
    });
  }

  /// @throws Error what has ended the ramp
  Status status() {
    const bool isOver = isOver_;
    const std::lock_guard lock(mutex_);
    if (error_) std::rethrow_exception(std::exchange(error_, nullptr));
    return {last_, isOver};
  }

 private:
  std::mutex mutex_;
  std::optional<imaging::CoolingSample> last_;
  std::exception_ptr error_;
  std::atomic<bool> isOver_ = true;
  imaging::Cooling cooling_;
  std::jthread thread_;  // ends before what it uses is destroyed
};

}  // namespace orvik::python
