// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "sim/sky/optics.h"
#include "sim/sky/scenes.h"
#include "sim/sky/star_field.h"
#include "sim/sky/star_profile.h"
#include "sim/sky/star_rows.h"
#include "sim/sky/star_view.h"

namespace orvik::sim {
namespace {

/// A star field under a faintly lit sky.
class Stars final : public Scene {
 public:
  Stars(const SensorFormat& sensor, std::uint64_t seed)
      : sensor_(sensor), seed_(seed), stars_(StarField{}.draw(sensor, seed)), rows_(sensor.height) {
    for (std::uint32_t n = 0; n < stars_.size(); ++n) {
      const Star& star = stars_[n];
      const float reach = reachOf(star);
      rows_.add(n, topOf(star, reach), bottomOf(star, reach));
    }
  }

  void illuminate(const SensorFormat&, const Area& area, std::span<float> flux) const override {
    paintEvenly(sensor_, area, flux, skyGlow());
    rows_.forEach(area, [&](std::uint32_t star, const Area& part) {
      addStar(stars_[star], area, part, flux);
    });
  }
  [[nodiscard]] bool isCheap() const override { return true; }

  [[nodiscard]] std::unique_ptr<SkyView> view(const SensorFormat& sensor) const override {
    return std::make_unique<StarView>(sensor, seed_);
  }

 private:
  /// Where a star is a small part of an electron per second, in pixels from its middle.
  static float reachOf(const Star& star) {
    const float brightest = std::max({star.light.red, star.light.green, star.light.blue});
    return std::clamp(StarProfile::kWidth * std::pow(brightest, 1.0F / 6), 4.0F, 60.0F);
  }
  static int topOf(const Star& star, float reach) {
    return static_cast<int>(std::floor(star.y - reach));
  }
  static int bottomOf(const Star& star, float reach) {
    return static_cast<int>(std::ceil(star.y + reach));
  }

  /// Adds a star to the flux of an area, in a part of its rows.
  void addStar(const Star& star, const Area& area, const Area& part, std::span<float> flux) const {
    const float reach = reachOf(star);
    const int left = std::max(static_cast<int>(std::floor(star.x - reach)), part.x);
    const int right = std::min(static_cast<int>(std::ceil(star.x + reach)), part.right() - 1);
    const int top = std::max(topOf(star, reach), part.y);
    const int bottom = std::min(bottomOf(star, reach), part.bottom() - 1);
    for (int y = top; y <= bottom; ++y) {
      const auto row = static_cast<std::size_t>(y - area.y) * static_cast<std::size_t>(area.width);
      for (int x = left; x <= right; ++x) {
        const float dx = static_cast<float>(x) - star.x;
        const float dy = static_cast<float>(y) - star.y;
        const float share = StarProfile::sharp(dx * dx + dy * dy) * vignette(sensor_, x, y);
        flux[row + static_cast<std::size_t>(x - area.x)] +=
            behind(sensor_.filterAt(x, y), star.light) * share;
      }
    }
  }

  SensorFormat sensor_;
  std::uint64_t seed_;
  std::vector<Star> stars_;
  StarRows rows_;
};

}  // namespace

std::unique_ptr<Scene> makeStars(const SensorFormat& sensor, std::uint64_t seed) {
  return std::make_unique<Stars>(sensor, seed);
}

}  // namespace orvik::sim
