// SPDX-License-Identifier: MIT
#pragma once

#include <cmath>
#include <cstdint>

#include "sim/random.h"

namespace orvik::sim {

/// A smooth random function of the plane, between -1 and 1: values at the points of a grid of
/// spacing 1, joined by smooth steps.
inline float valueNoise(float x, float y, std::uint64_t seed) {
  const float left = std::floor(x);
  const float top = std::floor(y);
  const auto corner = [&](int dx, int dy) {
    const auto column = static_cast<std::uint32_t>(static_cast<std::int32_t>(left) + dx);
    const auto row = static_cast<std::uint32_t>(static_cast<std::int32_t>(top) + dy);
    const std::uint64_t bits = scramble(seed ^ (std::uint64_t{row} << 32U | column));
    return static_cast<float>(bits >> 40U) * 0x1p-23F - 1;
  };
  const auto smooth = [](float t) { return t * t * (3 - 2 * t); };
  const float u = smooth(x - left);
  const float v = smooth(y - top);
  const float upper = corner(0, 0) + (corner(1, 0) - corner(0, 0)) * u;
  const float lower = corner(0, 1) + (corner(1, 1) - corner(0, 1)) * u;
  return upper + (lower - upper) * v;
}

/// Several octaves of it, each twice as fine and half as strong as the one before; about -1 to 1.
inline float cloudNoise(float x, float y, std::uint64_t seed, int octaves) {
  float sum = 0;
  float strength = 0.5F;
  for (int n = 0; n < octaves; ++n) {
    sum += strength * valueNoise(x, y, seed + static_cast<std::uint64_t>(n));
    x *= 2;
    y *= 2;
    strength *= 0.5F;
  }
  return sum;
}

}  // namespace orvik::sim
