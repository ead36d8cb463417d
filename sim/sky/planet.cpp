// SPDX-License-Identifier: MIT
#include <algorithm>
#include <array>
#include <cmath>

#include "sim/random.h"
#include "sim/sky/object_view.h"
#include "sim/sky/optics.h"
#include "sim/sky/scenes.h"
#include "sim/sky/value_noise.h"

namespace orvik::sim {
namespace {

/// The bright zones: a T15C at gain 200 (20 dB) reaches two thirds of its range in 10 ms.
constexpr float kBright = 95000;
constexpr float kRadius = 0.24F;  // equatorial, as a share of the sensor's height
constexpr float kFlattening = 0.065F;
constexpr float kTilt = 0.10F;     // radians
constexpr float kFarthest = 2.4F;  // of a satellite from the middle, in equatorial radii
constexpr float kSoftEdge = 12;    // pixels beyond the limb, or around a satellite, with some light

struct Belt {
  float latitude = 0;  ///< its middle, sine
  float width = 0;
  float depth = 0;  ///< how much darker
};
constexpr std::array kBelts = {
    Belt{-0.88F, 0.22F, 0.45F}, Belt{-0.52F, 0.05F, 0.25F}, Belt{-0.27F, 0.10F, 0.50F},
    Belt{0.04F, 0.02F, 0.12F},  Belt{0.26F, 0.12F, 0.42F},  Belt{0.50F, 0.04F, 0.22F},
    Belt{0.66F, 0.04F, 0.20F},  Belt{0.92F, 0.20F, 0.48F},
};

struct Satellite {
  float along = 0;  ///< equatorial radii from the middle of the disc, in the plane of its equator
  float across = 0;
  float brightness = 0;
};

/// A banded gas giant with a great spot, darkened towards its limb, with four satellites.
class Planet final : public SkyObject {
 public:
  explicit Planet(std::uint64_t seed) : seed_(seed) {
    Random random(seed ^ 0x706C616E6574U);
    spotLongitude_ = static_cast<float>(random.uniform(-0.5, 0.5));
    int n = 0;
    for (Satellite& satellite : satellites_) {
      const float side = random.uniform() < 0.5 ? -1.0F : 1.0F;
      satellite.along = side * static_cast<float>(random.uniform(1.25 + 0.25 * n, 1.45 + 0.3 * n));
      satellite.across = static_cast<float>(random.uniform(-0.06, 0.06));
      satellite.brightness = static_cast<float>(random.uniform(0.5, 0.9));
      ++n;
    }
  }

  void illuminate(const SensorFormat& sensor, const Area& area,
                  std::span<float> flux) const override {
    paint(sensor, area, flux, [&](int x, int y) { return lightAt(sensor, x, y); });
  }

  [[nodiscard]] Area extent(const SensorFormat& sensor) const override {
    const float radius = radiusOn(sensor);
    // Satellites stand near the plane of the equator, which is tilted by kTilt.
    const auto across = static_cast<int>(std::ceil(kFarthest * radius + kSoftEdge));
    const auto down = static_cast<int>(std::ceil(radius + kSoftEdge));
    return {sensor.width / 2 - across, sensor.height / 2 - down, 2 * across + 1, 2 * down + 1};
  }

  [[nodiscard]] std::vector<Light> lights(const SensorFormat& sensor,
                                          const Area& part) const override {
    return lightsOf(part, [&](int x, int y) { return lightAt(sensor, x, y); });
  }

 private:
  static float radiusOn(const SensorFormat& sensor) {
    return kRadius * static_cast<float>(sensor.height);
  }

  [[nodiscard]] Light lightAt(const SensorFormat& sensor, int x, int y) const {
    static const float kSine = std::sin(kTilt);
    static const float kCosine = std::cos(kTilt);
    const float radius = radiusOn(sensor);
    const float dx = (static_cast<float>(x) - 0.5F * static_cast<float>(sensor.width)) / radius;
    const float dy = (static_cast<float>(y) - 0.5F * static_cast<float>(sensor.height)) / radius;
    return lightAt(dx * kCosine + dy * kSine, dy * kCosine - dx * kSine, 1 / radius);
  }

  /// @param u, v equatorial radii along and across the equator
  /// @param pixel the size of a pixel in the same unit
  [[nodiscard]] Light lightAt(float u, float v, float pixel) const {
    for (const Satellite& satellite : satellites_) {
      const float distance = std::hypot(u - satellite.along, v - satellite.across) / pixel;
      if (distance < 8) {
        const float disc = satellite.brightness / (1 + std::exp(2.2F * (distance - 2.6F)));
        return Light{1, 0.97F, 0.88F} * (kBright * disc);
      }
    }
    const float latitude = v / (1 - kFlattening);
    const float edge = std::sqrt(u * u + latitude * latitude);
    // Air softens the limb over about two pixels.
    const float inside = 1 / (1 + std::exp((edge - 1) / (0.9F * pixel)));
    if (inside < 1e-4F) return {};
    const float depth = std::sqrt(std::max(1 - edge * edge, 0.0F));
    const float limb = 0.25F + 0.75F * std::pow(std::max(depth, 0.02F), 0.55F);
    return surface(u, latitude, depth) * (kBright * limb * inside);
  }

  [[nodiscard]] Light surface(float u, float latitude, float depth) const {
    const float longitude = std::atan2(u, std::max(depth, 0.02F));
    const float swirl =
        cloudNoise(longitude * 7, latitude * 26, seed_, 5) * (0.35F + 0.65F * depth);
    const float wavy = latitude + 0.022F * swirl;
    float dark = 0;
    for (const Belt& belt : kBelts) {
      const float from = (wavy - belt.latitude) / belt.width;
      dark = std::max(dark, belt.depth * std::exp(-from * from * from * from));
    }
    dark += 0.10F * swirl;
    // Belts are brown: they take more from blue than from red.
    Light light = {1.02F - 0.55F * dark, 0.96F - 0.85F * dark, 0.84F - 1.05F * dark};
    const float spot = std::hypot((longitude - spotLongitude_) / 0.20F, (latitude - 0.36F) / 0.10F);
    const float red = 0.9F / (1 + std::exp(7 * (spot - 1)));
    const Light spotLight{0.95F, 0.65F, 0.46F};
    light = light * (1 - red) + spotLight * red;
    return {std::max(light.red, 0.05F), std::max(light.green, 0.05F), std::max(light.blue, 0.05F)};
  }

  std::uint64_t seed_;
  float spotLongitude_ = 0;
  std::array<Satellite, 4> satellites_;
};

}  // namespace

std::unique_ptr<Scene> makePlanet(std::uint64_t seed) { return std::make_unique<Planet>(seed); }

}  // namespace orvik::sim
