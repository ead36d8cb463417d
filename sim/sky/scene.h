// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "sim/sensor_format.h"
#include "sim/sky/look.h"

namespace orvik::sim {

/// A scene as one camera sees it through a telescope that moves and blurs. It keeps what pictures
/// have in common, and allocates nothing large before the first of them. One thread at a time.
class SkyView {
 public:
  SkyView() = default;
  SkyView(const SkyView&) = delete;
  SkyView& operator=(const SkyView&) = delete;
  virtual ~SkyView() = default;

  /// As Scene::illuminate(), through a telescope.
  virtual void illuminate(const Area& area, const Look& look, std::span<float> flux) = 0;
};

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

  /// Whether light, of its view too, is so cheap to work out that this may be done in bands of a
  /// few rows, and again whenever the settings change. Other light is worked out for a whole area
  /// at once, and kept.
  [[nodiscard]] virtual bool isCheap() const { return false; }

  /// @return a view, which the scene must outlive; null for a scene that looks the same wherever
  /// the telescope points.
  [[nodiscard]] virtual std::unique_ptr<SkyView> view(const SensorFormat&) const { return nullptr; }
};

enum class SceneKind : std::uint8_t { kStars, kMoon, kPlanet, kGrey, kDark, kGradient };

/// @param sensor that the scene is for
/// @param seed decides where stars, craters and clouds are; the same seed gives the same scene
std::unique_ptr<Scene> makeScene(SceneKind kind, const SensorFormat& sensor, std::uint64_t seed);

}  // namespace orvik::sim
