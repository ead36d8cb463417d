// SPDX-License-Identifier: MIT
#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <vector>

#include "sim/random.h"
#include "sim/sky/optics.h"
#include "sim/sky/scenes.h"

namespace orvik::sim {
namespace {

constexpr float kSkyGlow = 22;  // electrons per second in a green pixel
constexpr double kBrightest =
    1500000;                         // electrons per second of the brightest star, in green light
constexpr double kMagnitudes = 9.5;  // from the brightest to the faintest star
constexpr double kStarsPerMegapixel = 1800;
/// How many times more stars there are with each magnitude, as a power of ten. Our galaxy: about
/// 10^0.45 in the middle range.
constexpr double kGrowth = 0.45;

/// Moffat's profile, the shape that a long look through air gives a star: (1 + (r/a)^2)^-b.
constexpr float kMoffatWidth =
    2.4F;  // a, in pixels; with b = 3 the star is 2.4 px wide at half its height
constexpr double kMoffatPower = 3;

struct Star {
  float x = 0;  ///< sensor pixels
  float y = 0;
  Light light;  ///< electrons per second of the whole star
};

/// Colours from red dwarfs to hot blue stars, green being 1.
constexpr std::array kColours = {
    Light{1.75F, 1, 0.35F}, Light{1.45F, 1, 0.55F}, Light{1.22F, 1, 0.75F}, Light{1.05F, 1, 0.92F},
    Light{0.92F, 1, 1.10F}, Light{0.82F, 1, 1.35F}, Light{0.75F, 1, 1.60F},
};

Light colourOf(double place) {
  const double at = place * (kColours.size() - 1);
  const auto below = std::min(static_cast<std::size_t>(at), kColours.size() - 2);
  const auto share = static_cast<float>(at - static_cast<double>(below));
  return kColours.at(below) * (1 - share) + kColours.at(below + 1) * share;
}

/// A magnitude below the brightest star's, 0 to kMagnitudes, as often as nature has it.
double drawMagnitude(Random& random) {
  const double all = std::pow(10, kGrowth * kMagnitudes) - 1;
  return std::log10(1 + random.uniform() * all) / kGrowth;
}

std::vector<Star> drawStars(const SensorFormat& sensor, std::uint64_t seed) {
  Random random(seed ^ 0x7374617273U);
  const double megapixels = sensor.width * (sensor.height / 1e6);
  std::vector<Star> stars(static_cast<std::size_t>(kStarsPerMegapixel * megapixels));
  for (Star& star : stars) {
    star.x = static_cast<float>(random.uniform(-10, sensor.width + 10));
    star.y = static_cast<float>(random.uniform(-10, sensor.height + 10));
    const double flux = kBrightest * std::pow(10, -0.4 * drawMagnitude(random));
    const double colour = std::clamp(0.5 + 0.22 * random.normal(), 0.0, 1.0);
    star.light = colourOf(colour) * static_cast<float>(flux);
  }
  // One star leads the field, so that every seed has something to focus on.
  stars.front() = {static_cast<float>(sensor.width * random.uniform(0.3, 0.7)),
                   static_cast<float>(sensor.height * random.uniform(0.3, 0.7)),
                   colourOf(random.uniform(0.2, 0.9)) * static_cast<float>(kBrightest)};
  return stars;
}

/// The share of a star's light that falls on a pixel `square` pixels squared away.
float moffat(float square) {
  constexpr auto kPeak =
      static_cast<float>((kMoffatPower - 1) / (std::numbers::pi * kMoffatWidth * kMoffatWidth));
  const float base = 1 + square / (kMoffatWidth * kMoffatWidth);
  return kPeak / (base * base * base);
}

/// Adds a star to the flux, out to where it is a small part of an electron per second.
void addStar(const Star& star, const SensorFormat& sensor, const Area& area,
             std::span<float> flux) {
  const float brightest = std::max({star.light.red, star.light.green, star.light.blue});
  const float reach = std::clamp(kMoffatWidth * std::pow(brightest, 1.0F / 6), 4.0F, 60.0F);
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
      const float share = moffat(dx * dx + dy * dy) * vignette(sensor, x, y);
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
    paint(sensor, area, flux, [](int, int) { return Light{kSkyGlow, kSkyGlow, kSkyGlow * 1.15F}; });
    for (const Star& star : drawStars(sensor, seed_)) addStar(star, sensor, area, flux);
  }

 private:
  std::uint64_t seed_;
};

}  // namespace

std::unique_ptr<Scene> makeStars(std::uint64_t seed) { return std::make_unique<Stars>(seed); }

}  // namespace orvik::sim
