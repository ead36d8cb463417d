// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

namespace orvik::sim {

/// A distance on the sensor, in pixels: x to the right, y down.
struct Offset {
  double x = 0;
  double y = 0;

  friend bool operator==(const Offset&, const Offset&) = default;
  friend constexpr Offset operator+(const Offset& a, const Offset& b) {
    return {a.x + b.x, a.y + b.y};
  }
  friend constexpr Offset operator-(const Offset& a, const Offset& b) {
    return {a.x - b.x, a.y - b.y};
  }
  friend constexpr Offset operator*(const Offset& a, double factor) {
    return {a.x * factor, a.y * factor};
  }
};

/// Where the sky stood during a part of an exposure.
struct Place {
  Offset offset;      ///< from where it stood when the camera was plugged in
  double weight = 1;  ///< share of the exposure

  friend bool operator==(const Place&, const Place&) = default;
};

/// How the telescope showed the sky during one exposure. The default is a sky at rest, as sharp as
/// it can be.
struct Look {
  std::vector<Place> places = {Place{}};  ///< at least one; the weights add up to 1
  double airSigma = 0;                    ///< of the Gaussian blur of the air, in pixels
  double discRadius = 0;                  ///< of a defocused star, in pixels

  friend bool operator==(const Look&, const Look&) = default;
  [[nodiscard]] bool blurred() const { return airSigma > 0 || discRadius > 0; }
};

}  // namespace orvik::sim
