// SPDX-License-Identifier: MIT
#include "cooler/regulator.h"

namespace orvik::cooler {

bool GlitchFilter::accept(float celsius, std::uint32_t nowMs) {
  constexpr float kFastest = 2.0F;  // degrees per second
  // A last reading of exactly 0 counts as none, as well as a time of 0.
  if (lastMs_ != 0 && lastCelsius_ != 0) {
    const auto elapsedMs = static_cast<float>(nowMs - lastMs_);
    const float rate = std::abs((celsius - lastCelsius_) * 1000 / elapsedMs);
    if (rate >= kFastest) return false;
  }
  lastMs_ = nowMs;
  lastCelsius_ = celsius;
  return true;
}

void PidController::reset(const Gains& gains) {
  *this = {};
  gains_ = gains;
}

float PidController::step(float error) {
  const float change = previousError_ == kNoError ? 0 : error - previousError_;
  errorSum_ += error;
  output_ =
      errorSum_ * gains_.integral + gains_.proportional * error + change * gains_.differential;
  error_ = error;
  previousError_ = error;
  return output_;
}

}  // namespace orvik::cooler
