// SPDX-License-Identifier: MIT
#pragma once

#include <array>

namespace orvik::sim {

/// Weights of the four values around a place between the second and the third of them (cubic
/// convolution with a = -0.5; R. G. Keys, IEEE Trans. ASSP 29, 1153, 1981). They add up to 1.
/// @param part 0 at the second value to 1 at the third
template <typename Number>
constexpr std::array<Number, 4> cubicWeights(Number part) {
  const Number square = part * part;
  const Number cube = square * part;
  return {(-cube + 2 * square - part) / 2, (3 * cube - 5 * square + 2) / 2,
          (-3 * cube + 4 * square + part) / 2, (cube - square) / 2};
}

}  // namespace orvik::sim
