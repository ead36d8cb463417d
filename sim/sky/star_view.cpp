// SPDX-License-Identifier: MIT
#include "sim/sky/star_view.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace orvik::sim {
namespace {

/// What a star frees less of in a pixel is left out. The sky between the stars frees 22.
constexpr float kLeast = 0.05F;            // electrons per second
constexpr float kBrightestLight = 2.7e6F;  // of any star in any colour, electrons per second
constexpr std::size_t kMostFields = 16;    // remembered; a telescope sees four at most at once

}  // namespace

void StarView::illuminate(const Area& area, const Look& look, std::span<float> flux) {
  if (look.airSigma != airSigma_ || look.discRadius != discRadius_) {
    profile_ = StarProfile(look.airSigma, look.discRadius);
    airSigma_ = look.airSigma;
    discRadius_ = look.discRadius;
  }
  if (glowArea_ != area) paintGlow(area);
  std::ranges::copy(glow_, flux.begin());
  for (const Place& place : look.places) addFields(area, place, flux);
}

void StarView::paintGlow(const Area& area) {
  glow_.resize(area.pixels());
  paint(sensor_, area, glow_, [](int, int) { return skyGlow(); });
  glowArea_ = area;
}

void StarView::addFields(const Area& area, const Place& place, std::span<float> flux) {
  const auto margin = static_cast<int>(std::ceil(profile_.reach(kBrightestLight, kLeast))) + 1;
  Area sky = area.grown(margin);
  sky.x -= static_cast<int>(std::floor(place.offset.x));
  sky.y -= static_cast<int>(std::floor(place.offset.y));
  const Area touched = StarField::touchedBy(sensor_, sky);
  for (int row = touched.y; row < touched.bottom(); ++row) {
    for (int column = touched.x; column < touched.right(); ++column) {
      const StarField field{column, row};
      const double x0 = static_cast<double>(field.originX(sensor_)) + place.offset.x;
      const double y0 = static_cast<double>(field.originY(sensor_)) + place.offset.y;
      for (Star star : starsOf(field)) {
        star.light = star.light * static_cast<float>(place.weight);
        addStar(star, static_cast<float>(x0 + star.x), static_cast<float>(y0 + star.y), area, flux);
      }
    }
  }
}

/// @param x, y where the star stands on the sensor
void StarView::addStar(const Star& star, float x, float y, const Area& area,
                       std::span<float> flux) const {
  const float brightest = std::max({star.light.red, star.light.green, star.light.blue});
  const float reach = profile_.reach(brightest, kLeast);
  const int left = std::max(static_cast<int>(std::ceil(x - reach)), area.x);
  const int right = std::min(static_cast<int>(std::floor(x + reach)), area.right() - 1);
  const int top = std::max(static_cast<int>(std::ceil(y - reach)), area.y);
  const int bottom = std::min(static_cast<int>(std::floor(y + reach)), area.bottom() - 1);
  if (left > right) return;
  const std::span<const float> losses = vignette_.columnLosses(area);
  for (int row = top; row <= bottom; ++row) {
    const std::array light = {behind(sensor_.filterAt(0, row), star.light),
                              behind(sensor_.filterAt(1, row), star.light)};
    const float share = vignette_.rowShare(row);
    const float square = (static_cast<float>(row) - y) * (static_cast<float>(row) - y);
    const auto begin =
        static_cast<std::size_t>(row - area.y) * static_cast<std::size_t>(area.width);
    for (int column = left; column <= right; ++column) {
      const float dx = static_cast<float>(column) - x;
      const auto n = static_cast<std::size_t>(column - area.x);
      flux[begin + n] += light[static_cast<std::size_t>(column & 1)] *
                         profile_.at(std::sqrt(dx * dx + square)) * (share - losses[n]);
    }
  }
}

const std::vector<Star>& StarView::starsOf(const StarField& field) {
  const auto found = fields_.find(field);
  if (found != fields_.end()) return found->second;
  if (fields_.size() == kMostFields) fields_.clear();
  return fields_.emplace(field, field.draw(sensor_, seed_)).first->second;
}

}  // namespace orvik::sim
