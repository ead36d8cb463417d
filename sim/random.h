// SPDX-License-Identifier: MIT
#pragma once

#include <cmath>
#include <cstdint>
#include <numbers>

namespace orvik::sim {

/// Mixes a number into one whose bits look random (the finaliser of SplitMix64).
constexpr std::uint64_t scramble(std::uint64_t value) {
  value += 0x9E3779B97F4A7C15U;
  value = (value ^ (value >> 30U)) * 0xBF58476D1CE4E5B9U;
  value = (value ^ (value >> 27U)) * 0x94D049BB133111EBU;
  return value ^ (value >> 31U);
}

/// A reproducible source of random numbers: the same seed gives the same numbers on any machine,
/// which the standard library's distributions do not promise.
class Random {
 public:
  explicit Random(std::uint64_t seed) : state_(scramble(seed)) {}

  std::uint64_t bits() { return scramble(state_ += 0x9E3779B97F4A7C15U); }

  /// Evenly distributed in [0, 1).
  double uniform() { return static_cast<double>(bits() >> 11U) * 0x1p-53; }
  double uniform(double low, double high) { return low + (high - low) * uniform(); }

  /// Evenly distributed in 0 to `count` - 1; `count` above 0.
  int below(int count) { return static_cast<int>(uniform() * count); }

  /// Normally distributed with mean 0 and variance 1 (Box and Muller).
  double normal() {
    const double radius = std::sqrt(-2.0 * std::log(1.0 - uniform()));
    return radius * std::cos(2.0 * std::numbers::pi * uniform());
  }

 private:
  std::uint64_t state_;
};

}  // namespace orvik::sim
