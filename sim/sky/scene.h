// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "sim/sensor_format.h"

namespace orvik::sim {

/// What the telescope looks at, as the light that arrives behind the sensor's colour filters.
class Scene {
 public:
  Scene() = default;
  Scene(const Scene&) = delete;
  Scene& operator=(const Scene&) = delete;
  virtual ~Scene() = default;

  /// Fills in the electrons per second that the light frees in each pixel of `area`.
  /// @param area lies within the sensor
  /// @param flux area.width x area.height values, row by row
  virtual void illuminate(const SensorFormat& sensor, const Area& area,
                          std::span<float> flux) const = 0;
};

enum class SceneKind : std::uint8_t { kStars, kMoon, kPlanet, kGrey, kDark, kGradient };

/// @param seed decides where stars, craters and clouds are; the same seed gives the same scene
std::unique_ptr<Scene> makeScene(SceneKind kind, std::uint64_t seed);

}  // namespace orvik::sim
