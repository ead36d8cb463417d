// SPDX-License-Identifier: MIT
#include "tools/orvikctl/sequence/dither.h"

#include <cmath>
#include <numbers>

namespace orvik::ctl {

std::array<Dither::Pulse, 2> Dither::next() {
  std::uniform_real_distribution<double> part(0, 1);
  const auto radius = static_cast<double>(radius_.count()) * std::sqrt(part(random_));
  const double angle = 2 * std::numbers::pi * part(random_);
  const std::array<Milliseconds, 2> wanted = {Milliseconds(std::lround(radius * std::cos(angle))),
                                              Milliseconds(std::lround(radius * std::sin(angle)))};
  std::array<Pulse, 2> pulses{};
  for (std::size_t axis = 0; axis < pulses.size(); ++axis) {
    const Milliseconds way = wanted[axis] - place_[axis];
    const int line = static_cast<int>(2 * axis) + (way < Milliseconds::zero() ? 1 : 0);
    pulses[axis] = {GuideD{line}, std::chrono::abs(way)};
  }
  place_ = wanted;
  return pulses;
}

}  // namespace orvik::ctl
