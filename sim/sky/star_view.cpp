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
  if (placedFor_ != look) placeStars(look);
  paintEvenly(sensor_, area, flux, skyGlow());
  rows_.forEach(area, [&](std::uint32_t star, const Area& part) {
    addStar(placed_[star], area, part, flux);
  });
}

void StarView::placeStars(const Look& look) {
  placedFor_.reset();
  if (look.airSigma != airSigma_ || look.discRadius != discRadius_) {
    profile_ = StarProfile(look.airSigma, look.discRadius);
    airSigma_ = look.airSigma;
    discRadius_ = look.discRadius;
  }
  placed_.clear();
  rows_ = StarRows(sensor_.height);
  for (const Place& place : look.places) placeFields(place);
  placedFor_ = look;
}

void StarView::placeFields(const Place& place) {
  const auto margin = static_cast<int>(std::ceil(profile_.reach(kBrightestLight, kLeast))) + 1;
  Area sky = Area{0, 0, sensor_.width, sensor_.height}.grown(margin);
  sky.x -= static_cast<int>(std::floor(place.offset.x));
  sky.y -= static_cast<int>(std::floor(place.offset.y));
  const Area touched = StarField::touchedBy(sensor_, sky);
  for (int row = touched.y; row < touched.bottom(); ++row) {
    for (int column = touched.x; column < touched.right(); ++column) {
      const StarField field{column, row};
      const double x0 = static_cast<double>(field.originX(sensor_)) + place.offset.x;
      const double y0 = static_cast<double>(field.originY(sensor_)) + place.offset.y;
      for (const Star& star : starsOf(field)) {
        const Light light = star.light * static_cast<float>(place.weight);
        const PlacedStar placed{
            .light = light,
            .x = static_cast<float>(x0 + star.x),
            .y = static_cast<float>(y0 + star.y),
            .reach = profile_.reach(std::max({light.red, light.green, light.blue}), kLeast)};
        const bool isSeen = placed.x + placed.reach >= 0 &&
                            placed.x - placed.reach < static_cast<float>(sensor_.width);
        if (!isSeen) continue;
        rows_.add(static_cast<std::uint32_t>(placed_.size()),
                  static_cast<int>(std::ceil(placed.y - placed.reach)),
                  static_cast<int>(std::floor(placed.y + placed.reach)));
        placed_.push_back(placed);
      }
    }
  }
}

/// Adds a star to the flux of an area, in a part of its rows.
void StarView::addStar(const PlacedStar& star, const Area& area, const Area& part,
                       std::span<float> flux) const {
  const int left = std::max(static_cast<int>(std::ceil(star.x - star.reach)), part.x);
  const int right = std::min(static_cast<int>(std::floor(star.x + star.reach)), part.right() - 1);
  const int top = std::max(static_cast<int>(std::ceil(star.y - star.reach)), part.y);
  const int bottom = std::min(static_cast<int>(std::floor(star.y + star.reach)), part.bottom() - 1);
  if (left > right) return;
  const std::span<const float> losses = vignette_.columnLosses(area);
  for (int row = top; row <= bottom; ++row) {
    const std::array light = {behind(sensor_.filterAt(0, row), star.light),
                              behind(sensor_.filterAt(1, row), star.light)};
    const float share = vignette_.rowShare(row);
    const float square = (static_cast<float>(row) - star.y) * (static_cast<float>(row) - star.y);
    const auto begin =
        static_cast<std::size_t>(row - area.y) * static_cast<std::size_t>(area.width);
    for (int column = left; column <= right; ++column) {
      const float dx = static_cast<float>(column) - star.x;
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
