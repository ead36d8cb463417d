// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "sim/sky/optics.h"

namespace orvik::sim {

/// The light of an area of the sky behind each kind of filter that a sensor has: three planes for a
/// mosaic of colours, one for a monochrome sensor. Around the area the sky is black.
class LightPlane {
 public:
  LightPlane() = default;
  LightPlane(const Area& area, Mosaic mosaic)
      : area_(area), planes_(mosaic == Mosaic::kMono ? 1 : 3, std::vector<float>(area.pixels())) {}

  [[nodiscard]] const Area& area() const { return area_; }
  [[nodiscard]] std::size_t planes() const { return planes_.size(); }

  /// Values from the sky's pixel x, y to the end of its row. The pixel lies within the area.
  [[nodiscard]] std::span<const float> row(std::size_t plane, int x, int y) const {
    return std::span(planes_[plane]).subspan(index(x, y), lengthFrom(x));
  }
  [[nodiscard]] std::span<float> row(std::size_t plane, int x, int y) {
    return std::span(planes_[plane]).subspan(index(x, y), lengthFrom(x));
  }

  /// Writes the lights of `part`, which lies within the area.
  void put(const Area& part, std::span<const Light> lights);
  /// Takes over what both have in common.
  void copy(const LightPlane& other);

  /// The plane of a filter.
  static constexpr std::size_t planeOf(Filter filter) {
    return filter == Filter::kClear ? 0 : static_cast<std::size_t>(filter);
  }

 private:
  [[nodiscard]] std::size_t index(int x, int y) const {
    return static_cast<std::size_t>(y - area_.y) * static_cast<std::size_t>(area_.width) +
           static_cast<std::size_t>(x - area_.x);
  }
  [[nodiscard]] std::size_t lengthFrom(int x) const {
    return static_cast<std::size_t>(area_.right() - x);
  }

  Area area_;
  std::vector<std::vector<float>> planes_;
};

/// The light of `source` in `area`, blurred by the air and by defocus. No light is lost.
/// @param airSigma, discRadius as in Look
LightPlane blurred(const LightPlane& source, const Area& area, Mosaic mosaic, double airSigma,
                   double discRadius);

/// How far blurring spreads light, in pixels.
int blurReach(double airSigma, double discRadius);

}  // namespace orvik::sim
