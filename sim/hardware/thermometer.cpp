// SPDX-License-Identifier: MIT
#include "sim/hardware/thermometer.h"

#include <algorithm>
#include <chrono>
#include <cmath>

namespace orvik::sim {
namespace {

constexpr double kIdleRise = 2;     // degrees above ambient, in the end
constexpr double kWorkingRise = 5;  // the same while reading out
constexpr double kSettlingSeconds = 120;

}  // namespace

void Thermometer::setWorking(bool working, seam::Clock::Duration now) {
  if (working == working_) return;
  riseAtSince_ = celsius(now) - ambient_;
  since_ = now;
  working_ = working;
}

double Thermometer::celsius(seam::Clock::Duration now) const {
  const double goal = working_ ? kWorkingRise : kIdleRise;
  const double seconds = std::chrono::duration<double>(now - since_).count();
  return ambient_ + goal + (riseAtSince_ - goal) * std::exp(-seconds / kSettlingSeconds);
}

std::array<std::uint8_t, 2> Thermometer::word(seam::Clock::Duration now) const {
  const double sixteenths = std::clamp(std::round(celsius(now) * 16), -2048.0, 2047.0);
  const auto bits = static_cast<unsigned>(static_cast<int>(sixteenths)) & 0xFFFU;
  return {static_cast<std::uint8_t>((bits & 0xFU) << 4U), static_cast<std::uint8_t>(bits >> 4U)};
}

}  // namespace orvik::sim
