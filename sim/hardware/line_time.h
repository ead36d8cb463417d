// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "seam/clock.h"

namespace orvik::sim {

/// How long `lines` lines of `cycles` clock cycles each last; `kilohertz` above 0.
constexpr seam::Clock::Duration lineTimes(std::int64_t lines, std::int64_t cycles, int kilohertz) {
  return seam::Clock::Duration{lines * cycles * 1000000 / kilohertz};
}

}  // namespace orvik::sim
