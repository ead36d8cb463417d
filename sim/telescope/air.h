// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "sim/sky/look.h"

namespace orvik::sim {

/// The turbulent air above the telescope. It blurs the image and tilts it to and fro. A short
/// exposure shows the image where it is at the time; a long one has the mean of many tilts, and is
/// blurred by them instead. The tilt is a function of time that the seed decides.
class Air {
 public:
  /// @param fwhm width of a star at half its height after a long exposure, in pixels; 0 for no air
  Air(double fwhm, std::uint64_t seed);

  /// The mean tilt from `begins` to `ends`, in seconds since the plugging.
  [[nodiscard]] Offset tilt(double begins, double ends) const;
  /// The standard deviation of the Gaussian blur of an exposure of `seconds`, in pixels.
  [[nodiscard]] double sigma(double seconds) const;

 private:
  /// A part of the tilt along one axis.
  struct Wave {
    double frequency = 0;  ///< hertz
    double phase = 0;
  };
  using Waves = std::vector<Wave>;

  [[nodiscard]] double tiltOf(const Waves& waves, double begins, double ends) const;

  double tiltSigma_;            ///< along one axis
  double shortSigma_;           ///< of the blur of a very short exposure
  std::array<Waves, 2> waves_;  ///< of x and y; empty without air
};

}  // namespace orvik::sim
