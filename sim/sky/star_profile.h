// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <functional>
#include <vector>

namespace orvik::sim {

/// How a star's light is spread over the sensor: a Moffat profile, made wider by air and defocus.
/// A profile has the whole light of the star.
class StarProfile {
 public:
  /// The Moffat profile (1 + (r/a)^2)^-b, which describes a star after a long exposure (A. F. J.
  /// Moffat, Astron. Astrophys. 3, 455, 1969); b = 3. The star is 2.4 pixels wide at half its
  /// height.
  static constexpr float kWidth = 2.4F;  ///< a, in pixels

  /// The share of a star's light on a pixel `square` pixels squared away, in focus and without air.
  static float sharp(float square);

  StarProfile() : StarProfile(0, 0) {}
  /// @param sigma standard deviation of the air's Gaussian blur, in pixels
  /// @param discRadius of the disc that defocus makes of a point, in pixels
  StarProfile(double sigma, double discRadius);

  /// The share of the light on a pixel `distance` pixels away.
  [[nodiscard]] float at(float distance) const {
    const float place = distance * kUnits;
    const auto below = static_cast<std::size_t>(place);
    if (below + 1 >= shares_.size()) return 0;
    const float part = place - static_cast<float>(below);
    return shares_[below] + (shares_[below + 1] - shares_[below]) * part;
  }
  /// The distance beyond which a star of this flux frees less than `least` electrons per second in
  /// a pixel.
  [[nodiscard]] float reach(float flux, float least) const;

 private:
  static constexpr int kUnits = 16;  ///< table entries in a pixel

  void spread(double radius, double scale, const std::function<double(double)>& density);

  std::vector<float> shares_;
};

}  // namespace orvik::sim
