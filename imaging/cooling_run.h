// SPDX-License-Identifier: MIT
#pragma once

#include <future>
#include <mutex>
#include <optional>
#include <stop_token>

#include "imaging/cooling.h"

namespace orvik::imaging {

/// A camera's temperature on its way along a ramp, in a thread of its own. Any thread may call the
/// functions.
class CoolingRun {
 public:
  /// @param camera exists as long as this object
  explicit CoolingRun(Camera& camera) : camera_(camera) {}
  ~CoolingRun() { end(); }
  CoolingRun(const CoolingRun&) = delete;
  CoolingRun& operator=(const CoolingRun&) = delete;

  /// Begins a ramp from the present temperature, in the place of the former one, and holds the
  /// temperature at its end.
  ///
  /// @param to degrees Celsius; empty for the temperature before cooling, which does nothing
  ///        without cooling
  /// @param degreesPerMinute above 0
  /// @throws Error if the camera has no cooler, or its temperature cannot be read
  void begin(std::optional<int> to, double degreesPerMinute);

  /// Whether there is nothing to wait for: the temperature has arrived within a degree, a warm-up
  /// is at its end, or nothing runs.
  ///
  /// @throws Error what has ended the ramp, once
  bool isOver();

  /// Switches the cooler off at once, wherever the ramp is.
  void end();

 private:
  void stop();

  Camera& camera_;
  std::mutex changes_;
  std::optional<Cooling> cooling_;
  std::optional<int> to_;
  std::stop_source stop_;
  std::future<void> running_;
};

}  // namespace orvik::imaging
