// SPDX-License-Identifier: MIT
#include "sim/sky/object_view.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

#include "sim/sky/cubic.h"

namespace orvik::sim {
namespace {

/// How much more of the sky is worked out than is needed, in pixels on each side.
constexpr int kMargin = 64;
constexpr int kNeighbours = 2;  // pixels around a place that its value is taken from

/// The part of the sky that an area of the sensor sees from all places.
Area skyOf(const Area& area, const std::vector<Place>& places) {
  double left = places.front().offset.x;
  double top = places.front().offset.y;
  double right = left;
  double bottom = top;
  for (const Place& place : places) {
    left = std::min(left, place.offset.x);
    top = std::min(top, place.offset.y);
    right = std::max(right, place.offset.x);
    bottom = std::max(bottom, place.offset.y);
  }
  // The sky moves by the offset, and the view of the sensor against it.
  const auto x = static_cast<int>(std::floor(area.x - right));
  const auto y = static_cast<int>(std::floor(area.y - bottom));
  const Area sky{x, y, static_cast<int>(std::ceil(area.right() - left)) - x,
                 static_cast<int>(std::ceil(area.bottom() - top)) - y};
  return sky.grown(kNeighbours);
}

}  // namespace

std::unique_ptr<SkyView> SkyObject::view(const SensorFormat& sensor) const {
  return std::make_unique<ObjectView>(*this, sensor);
}

void ObjectView::illuminate(const Area& area, const Look& look, std::span<float> flux) {
  std::ranges::fill(flux, 0.0F);
  const int reach = look.blurred() ? blurReach(look.airSigma, look.discRadius) : 0;
  const Area sky = skyOf(area, look.places).common(extent_.grown(reach));
  if (sky.empty()) return;
  const LightPlane& light = prepare(sky, look);
  for (const Place& place : look.places) addMoved(light, place, area, flux);
  const auto width = static_cast<std::size_t>(area.width);
  const std::span<const float> losses = vignette_.columnLosses(area);
  for (int y = 0; y < area.height; ++y) {
    const std::span<float> row = flux.subspan(static_cast<std::size_t>(y) * width, width);
    const float share = vignette_.rowShare(area.y + y);
    // A cubic may fall below zero beside a sharp edge.
    for (std::size_t x = 0; x < width; ++x) row[x] = std::max(row[x], 0.0F) * (share - losses[x]);
  }
}

/// @return the light of at least `sky`, which lies where light can be.
const LightPlane& ObjectView::prepare(const Area& sky, const Look& look) {
  if (!look.blurred()) {
    workOut(sky);
    return sharp_;
  }
  const bool sameBlur = airSigma_ == look.airSigma && discRadius_ == look.discRadius;
  if (sameBlur && blurred_.area().holds(sky)) return blurred_;
  const int reach = blurReach(look.airSigma, look.discRadius);
  const Area area = sky.grown(kMargin).common(extent_.grown(reach));
  workOut(area.grown(reach).common(extent_));
  blurred_ = blurred(sharp_, area, sensor_.mosaic, look.airSigma, look.discRadius);
  airSigma_ = look.airSigma;
  discRadius_ = look.discRadius;
  return blurred_;
}

/// Sees to it that sharp_ holds the light of `sky`. What is known already is kept.
void ObjectView::workOut(const Area& sky) {
  if (sharp_.area().holds(sky)) return;
  const Area area = sky.grown(kMargin).common(extent_);
  LightPlane next(area, sensor_.mosaic);
  next.copy(sharp_);
  const Area known = area.common(sharp_.area());
  const int below = known.bottom();
  const auto add = [&](const Area& part) {
    if (!part.empty()) next.put(part, object_->lights(sensor_, part));
  };
  if (known.empty()) {
    add(area);
  } else {
    add({area.x, area.y, area.width, known.y - area.y});
    add({area.x, below, area.width, area.bottom() - below});
    add({area.x, known.y, known.x - area.x, known.height});
    add({known.right(), known.y, area.right() - known.right(), known.height});
  }
  sharp_ = std::move(next);
}

void ObjectView::addMoved(const LightPlane& light, const Place& place, const Area& area,
                          std::span<float> flux) {
  const auto width = static_cast<std::size_t>(area.width);
  for (int y = 0; y < area.height; ++y) {
    addRow(light, area, area.y + y, place.offset, static_cast<float>(place.weight),
           flux.subspan(static_cast<std::size_t>(y) * width, width));
  }
}

/// Adds a row of moved light, interpolated first between the rows of the sky and then along them.
void ObjectView::addRow(const LightPlane& light, const Area& area, int row, const Offset& offset,
                        float weight, std::span<float> flux) {
  const double x0 = std::floor(area.x - offset.x);
  const double y0 = std::floor(row - offset.y);
  const int top = static_cast<int>(y0) - 1;
  const int left = static_cast<int>(x0) - 1;
  const std::array along = cubicWeights(static_cast<float>(area.x - offset.x - x0));
  const std::array down = cubicWeights(static_cast<float>(row - offset.y - y0));
  const auto taps = static_cast<int>(down.size());
  const Area seen = Area{left, top, area.width + taps - 1, taps}.common(light.area());
  if (seen.empty()) return;

  const auto first = static_cast<std::size_t>(seen.x - left);
  const auto count = static_cast<std::size_t>(seen.width);
  const std::size_t planes = light.planes() == 1 ? 1 : 2;  // a row of a mosaic has two colours
  for (std::size_t parity = 0; parity < planes; ++parity) {
    const std::size_t plane = LightPlane::planeOf(sensor_.filterAt(static_cast<int>(parity), row));
    mixed_.assign(flux.size() + down.size() - 1, 0.0F);
    for (int y = seen.y; y < seen.bottom(); ++y) {
      const float share = down.at(static_cast<std::size_t>(y - top)) * weight;
      const std::span<const float> from = light.row(plane, seen.x, y);
      const std::span<float> to = std::span(mixed_).subspan(first, count);
      for (std::size_t x = 0; x < count; ++x) to[x] += share * from[x];
    }
    const std::size_t begin = (static_cast<std::size_t>(area.x) + parity) % planes;
    for (std::size_t x = begin; x < flux.size(); x += planes) {
      flux[x] += along[0] * mixed_[x] + along[1] * mixed_[x + 1] + along[2] * mixed_[x + 2] +
                 along[3] * mixed_[x + 3];
    }
  }
}

}  // namespace orvik::sim
