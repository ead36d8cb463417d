// SPDX-License-Identifier: MIT
#pragma once

namespace orvik::imaging {

/// A way from one temperature to another at a steady rate. Degrees Celsius, seconds.
class CoolingRamp {
 public:
  /// @param degreesPerMinute above 0
  CoolingRamp(double from, double to, double degreesPerMinute)
      : from_(from), to_(to), rate_(degreesPerMinute / 60) {}

  /// Where the ramp is after so many seconds, as the whole degrees that a camera takes.
  [[nodiscard]] int targetAt(double seconds) const;
  /// Seconds until it has arrived.
  [[nodiscard]] double duration() const;

 private:
  double from_;
  double to_;
  double rate_;  // degrees a second
};

}  // namespace orvik::imaging
