// SPDX-License-Identifier: MIT
#include "sim/sky/star_field.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "sim/random.h"

namespace orvik::sim {
namespace {

/// Electrons per second of the brightest star, in green light.
constexpr double kBrightest = 1500000;
constexpr double kMagnitudes = 9.5;  // from the brightest to the faintest star
constexpr double kStarsPerMegapixel = 1800;
/// How many times more stars there are with each magnitude, as a power of ten. Our galaxy: about
/// 10^0.45 in the middle range.
constexpr double kGrowth = 0.45;

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

/// The quotient rounded down.
int fieldAt(int place, int size) {
  return static_cast<int>(std::floor(static_cast<double>(place + StarField::kMargin) / size));
}

}  // namespace

Area StarField::touchedBy(const SensorFormat& sensor, const Area& sky) {
  const int width = sensor.width + 2 * kMargin;
  const int height = sensor.height + 2 * kMargin;
  const int left = fieldAt(sky.x, width);
  const int top = fieldAt(sky.y, height);
  return {left, top, fieldAt(sky.right() - 1, width) - left + 1,
          fieldAt(sky.bottom() - 1, height) - top + 1};
}

std::vector<Star> StarField::draw(const SensorFormat& sensor, std::uint64_t seed) const {
  const bool first = column == 0 && row == 0;
  const std::uint64_t place =
      std::uint64_t{static_cast<std::uint32_t>(row)} << 32U | static_cast<std::uint32_t>(column);
  Random random(first ? seed ^ 0x7374617273U : scramble(seed) ^ place);
  const double megapixels = sensor.width * (sensor.height / 1e6);
  std::vector<Star> stars(static_cast<std::size_t>(kStarsPerMegapixel * megapixels));
  for (Star& star : stars) {
    star.x = static_cast<float>(random.uniform(-kMargin, sensor.width + kMargin));
    star.y = static_cast<float>(random.uniform(-kMargin, sensor.height + kMargin));
    const double flux = kBrightest * std::pow(10, -0.4 * drawMagnitude(random));
    const double colour = std::clamp(0.5 + 0.22 * random.normal(), 0.0, 1.0);
    star.light = colourOf(colour) * static_cast<float>(flux);
  }
  if (!first) return stars;
  // One star leads the field, so that every seed has something to focus on.
  stars.front() = {static_cast<float>(sensor.width * random.uniform(0.3, 0.7)),
                   static_cast<float>(sensor.height * random.uniform(0.3, 0.7)),
                   colourOf(random.uniform(0.2, 0.9)) * static_cast<float>(kBrightest)};
  return stars;
}

}  // namespace orvik::sim
