// SPDX-License-Identifier: MIT
#pragma once

#include <cmath>
#include <cstdint>

namespace orvik::cooler {

/// Rejects readings that change faster than a sensor of this mass can. For one thread at a time.
class GlitchFilter {
 public:
  /// Checks a reading. A rejected one is not stored, so that a lasting change is accepted once
  /// enough time has passed for it.
  /// @param celsius the reading
  /// @param nowMs milliseconds of a clock that may wrap around
  /// @return false when the temperature moved by 2 degrees per second or more.
  bool accept(float celsius, std::uint32_t nowMs);

 private:
  std::uint32_t lastMs_ = 0;  ///< 0 before the first reading
  float lastCelsius_ = -100.0F;
};

/// A PID controller of the temperature, with one step per call. Its output is the reduction of the
/// power in percent, so the power itself is the integral of the output. For one thread at a time.
class PidController {
 public:
  struct Gains {
    float proportional;
    float integral;
    float differential;
  };

  /// Resets the controller and sets the gains.
  void reset(const Gains& gains);

  /// Makes one step.
  /// @param error target minus temperature, degrees
  /// @return the reduction of the power in percent.
  float step(float error);

  [[nodiscard]] float error() const { return error_; }
  [[nodiscard]] float output() const { return output_; }
  /// Limits of the output that a caller may apply; step() does not.
  [[nodiscard]] float outputMax() const { return outputMax_; }
  [[nodiscard]] float outputMin() const { return outputMin_; }

 private:
  static constexpr float kNoError = -200.0F;  ///< there was no step yet

  Gains gains_{0, 0, 0};
  float error_ = 0;
  float previousError_ = kNoError;
  float errorSum_ = 0;
  float output_ = 0;
  float outputMax_ = 20.0F;
  float outputMin_ = -20.0F;
};

/// Subtracts the output of the controller from the power, repeatedly until the drive of the cooler,
/// which has coarser steps than the power, has moved by at least one step. With an error of up to
/// 0.4 degrees, or an output of 0, the power is set only once.
/// @param power percent to start from
/// @param setPower called with the percentages, which may lie beyond 0 to 100; returns whether the
///        drive changed
template <class SetPower>
void movePower(float power, float output, float error, SetPower setPower) {
  constexpr float kNearEnough = 0.4F;
  if (output == 0 || std::abs(error) <= kNearEnough) {
    setPower(power - output);
    return;
  }
  while (!(power >= 100 && output <= 0) && !(power <= 0 && output >= 0)) {
    const float next = power - output;
    if (next == power || setPower(next)) return;  // next == power: the output is below resolution
    power = next;
  }
}

}  // namespace orvik::cooler
