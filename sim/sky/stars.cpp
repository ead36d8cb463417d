// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>

#include "sim/sky/optics.h"
#include "sim/sky/scenes.h"
#include "sim/sky/star_field.h"
#include "sim/sky/star_profile.h"
#include "sim/sky/star_view.h"

namespace orvik::sim {
namespace {

/// Adds a star to the flux, out to where it is a small part of an electron per second.
void addStar(const Star& star, const SensorFormat& sensor, const Area& area,
             std::span<float> flux) {
  const float brightest = std::max({star.light.red, star.light.green, star.light.blue});
  const float reach = std::clamp(StarProfile::kWidth * std::pow(brightest, 1.0F / 6), 4.0F, 60.0F);
  const int left = std::max(static_cast<int>(std::floor(star.x - reach)), area.x);
  const int right = std::min(static_cast<int>(std::ceil(star.x + reach)), area.x + area.width - 1);
  const int top = std::max(static_cast<int>(std::floor(star.y - reach)), area.y);
  const int bottom =
      std::min(static_cast<int>(std::ceil(star.y + reach)), area.y + area.height - 1);
  for (int y = top; y <= bottom; ++y) {
    const auto row = static_cast<std::size_t>(y - area.y) * static_cast<std::size_t>(area.width);
    for (int x = left; x <= right; ++x) {
      const float dx = static_cast<float>(x) - star.x;
      const float dy = static_cast<float>(y) - star.y;
      const float share = StarProfile::sharp(dx * dx + dy * dy) * vignette(sensor, x, y);
      flux[row + static_cast<std::size_t>(x - area.x)] +=
          behind(sensor.filterAt(x, y), star.light) * share;
    }
  }
}

/// A star field under a faintly lit sky.
class Stars final : public Scene {
 public:
  explicit Stars(std::uint64_t seed) : seed_(seed) {}

  void illuminate(const SensorFormat& sensor, const Area& area,
                  std::span<float> flux) const override {
    paint(sensor, area, flux, [](int, int) { return skyGlow(); });
    for (const Star& star : StarField{}.draw(sensor, seed_)) addStar(star, sensor, area, flux);
  }

  [[nodiscard]] std::unique_ptr<SkyView> view(const SensorFormat& sensor) const override {
    return std::make_unique<StarView>(sensor, seed_);
  }

 private:
  std::uint64_t seed_;
};

}  // namespace

std::unique_ptr<Scene> makeStars(std::uint64_t seed) { return std::make_unique<Stars>(seed); }

}  // namespace orvik::sim
