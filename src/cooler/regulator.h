// SPDX-License-Identifier: MIT
#pragma once

#include <cmath>
#include <cstdint>

namespace orvik::cooler {

/// Keeps readings out that no sensor of this mass can follow. For one thread at a time.
class GlitchFilter {
 public:
  /// Judges a reading; one that is refused leaves no trace, so that a change which lasts is
  /// believed once enough time has passed for it.
  /// @param celsius the reading
  /// @param nowMs milliseconds of a clock that may wrap around
  /// @return false when the temperature moved by 2 degrees per second or more.
  bool accept(float celsius, std::uint32_t nowMs);

 private:
  std::uint32_t lastMs_ = 0;  ///< 0: there was no reading yet
  float lastCelsius_ = -100.0F;
};

/// A PID controller of the temperature, in steps of the calling thread. Its output is the change of
/// power, downwards, in percent; so the power itself does the integrating. For one thread at a
/// time.
class PidController {
 public:
  struct Gains {
    float proportional;
    float integral;
    float differential;
  };

  /// Forgets what has been, and takes these gains.
  void reset(const Gains& gains);

  /// One step.
  /// @param error target less temperature, degrees
  /// @return percent of power to take away.
  float step(float error);

  [[nodiscard]] float error() const { return error_; }
  [[nodiscard]] float output() const { return output_; }
  /// Limits of the output that a caller may apply; step() does not.
  [[nodiscard]] float outputMax() const { return outputMax_; }
  [[nodiscard]] float outputMin() const { return outputMin_; }

 private:
  static constexpr float kNoError = -200.0F;  ///< marks that there was no step yet

  Gains gains_{0, 0, 0};
  float error_ = 0;
  float previousError_ = kNoError;
  float errorSum_ = 0;
  float output_ = 0;
  float outputMax_ = 20.0F;
  float outputMin_ = -20.0F;
};

/// Takes the controller's output from the power, until the cooler's drive, which is coarser than
/// the power, has moved by at least one step. An error of up to 0.4 degrees is not worth that:
/// then, and for an output of 0, the power is set once.
/// @param power percent, from which to start
/// @param setPower called with the percentages, which may lie beyond 0 to 100; answers whether the
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
    if (next == power || setPower(next)) return;  // too small an output moves nothing, ever
    power = next;
  }
}

}  // namespace orvik::cooler
