// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <tuple>
#include <vector>

#include "sim/sensor_format.h"
#include "sim/sky/optics.h"

namespace orvik::sim {

inline constexpr float kSkyGlow = 22;  ///< electrons per second in a green pixel

struct Star {
  float x = 0;  ///< pixels from the field's origin
  float y = 0;
  Light light;  ///< electrons per second of the whole star
};

/// The light of the sky between the stars.
constexpr Light skyGlow() { return {kSkyGlow, kSkyGlow, kSkyGlow * 1.15F}; }

/// A field of the sky as large as the sensor with a margin of kFieldMargin on each side. Fields lie
/// side by side in all directions; the telescope points at field 0, 0 at first.
struct StarField {
  int column = 0;
  int row = 0;

  static constexpr int kMargin = 10;  ///< pixels

  /// The fields that a part of the sky touches. @return from the first field on, in fields.
  static Area touchedBy(const SensorFormat& sensor, const Area& sky);

  [[nodiscard]] std::int64_t originX(const SensorFormat& sensor) const {
    return std::int64_t{column} * (sensor.width + 2 * kMargin);
  }
  [[nodiscard]] std::int64_t originY(const SensorFormat& sensor) const {
    return std::int64_t{row} * (sensor.height + 2 * kMargin);
  }
  [[nodiscard]] std::vector<Star> draw(const SensorFormat& sensor, std::uint64_t seed) const;

  friend bool operator<(const StarField& a, const StarField& b) {
    return std::tie(a.row, a.column) < std::tie(b.row, b.column);
  }
};

}  // namespace orvik::sim
