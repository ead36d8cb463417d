// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <chrono>
#include <random>

#include "orvik/orvik.hpp"
#include "tools/orvikctl/sequence/plan.h"

namespace orvik::ctl {

/// Chooses small moves of the mount, so that a star does not fall on the same pixels in all images.
///
/// The places are spread evenly over a circle around the first one, and each move goes from one
/// place to the next: however many moves there are, the object stays in the picture.
class Dither {
 public:
  struct Pulse {
    GuideD line;
    std::chrono::milliseconds length;  ///< 0 or more
  };

  /// @param pulse length of the pulse along one axis from the middle of the circle to its border
  Dither(std::chrono::milliseconds pulse, std::uint32_t seed) : radius_(pulse), random_(seed) {}

  /// The pulses of the next move, one for each axis: lines 0 and 1, and lines 2 and 3, move the
  /// mount in opposite directions.
  std::array<Pulse, 2> next();

 private:
  using Milliseconds = std::chrono::milliseconds;

  Milliseconds radius_;
  std::array<Milliseconds, 2> place_{};
  std::mt19937 random_;
};

}  // namespace orvik::ctl
