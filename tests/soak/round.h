// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>

namespace orvik::soak {

struct Tally {
  std::uint64_t calls = 0;
  std::uint64_t images = 0;
};

/// Runs a round with a few virtual cameras, faults and callers, from the first plug to the last
/// close.
Tally playRound(std::uint64_t seed, std::chrono::milliseconds duration);

}  // namespace orvik::soak
