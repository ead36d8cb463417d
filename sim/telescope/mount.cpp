// SPDX-License-Identifier: MIT
#include "sim/telescope/mount.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <numbers>

namespace orvik::sim {
namespace {

constexpr double kSpacing = 1;              // pixels between the places of a path
constexpr double kStep = 0.25;              // pixels between the samples that make up the places
constexpr std::size_t kMostSamples = 4096;  // of one path, besides one for each leg
constexpr std::size_t kMostLegs = 20000;    // remembered; a night of guiding has fewer
/// The sky stops here, so that no position leaves the range of the numbers that count pixels.
constexpr double kFarthest = 1e8;

double seconds(seam::Clock::Duration duration) {
  return std::chrono::duration<double>(duration).count();
}

double lengthOf(const Offset& offset) { return std::hypot(offset.x, offset.y); }

/// Joins the samples that lie in one cell of a grid around the first of them.
std::vector<Place> joined(const std::vector<Place>& samples, double spacing) {
  struct Cell {
    std::int64_t column = 0;
    std::int64_t row = 0;
  };
  const Offset origin = samples.front().offset;
  std::vector<Cell> cells;
  std::vector<Place> places;  // the offsets are sums, to be divided by the weights
  for (const Place& sample : samples) {
    const Offset from = (sample.offset - origin) * (1 / spacing);
    const Cell cell{std::llround(from.x), std::llround(from.y)};
    const auto found = std::find_if(cells.rbegin(), cells.rend(), [&](const Cell& each) {
      return each.column == cell.column && each.row == cell.row;
    });
    if (found == cells.rend()) {
      if (cells.size() == Mount::kMostPlaces) return {};
      cells.push_back(cell);
      places.push_back({sample.offset * sample.weight, sample.weight});
      continue;
    }
    Place& place = places[static_cast<std::size_t>(cells.rend() - found) - 1];
    place.offset = place.offset + sample.offset * sample.weight;
    place.weight += sample.weight;
  }
  for (Place& place : places) place.offset = place.offset * (1 / place.weight);
  return places;
}

}  // namespace

Mount::Mount(const TelescopeOptions& options, Duration plugged)
    : drift_(options.drift), legs_{{.begins = plugged, .from = {}, .velocity = options.drift}} {
  const double angle = options.guideAngle * std::numbers::pi / 180;
  const Offset east = Offset{std::cos(angle), std::sin(angle)} * options.guideRate;
  const Offset north = {-east.y, east.x};
  velocities_ = {north, north * -1, east, east * -1};
}

void Mount::guide(int line, bool on, Duration now) {
  const auto n = static_cast<std::size_t>(line);
  if (n >= on_.size() || on_.at(n) == on) return;
  on_.at(n) = on;
  Offset velocity = drift_;
  for (std::size_t each = 0; each < on_.size(); ++each) {
    if (on_.at(each)) velocity = velocity + velocities_.at(each);
  }
  if (velocity == legs_.back().velocity) return;
  if (legs_.size() == kMostLegs) legs_.erase(legs_.begin(), legs_.begin() + kMostLegs / 2);
  legs_.push_back({now, legs_.back().at(now), velocity});
}

Offset Mount::Leg::at(Duration time) const {
  const Offset offset = from + velocity * std::max(seconds(time - begins), 0.0);
  return {std::clamp(offset.x, -kFarthest, kFarthest), std::clamp(offset.y, -kFarthest, kFarthest)};
}

std::size_t Mount::legAt(Duration time) const {
  const auto next = std::ranges::upper_bound(legs_, time, {}, &Leg::begins);
  return next == legs_.begin() ? 0 : static_cast<std::size_t>(next - legs_.begin()) - 1;
}

/// The path in small steps, each with its duration as weight.
std::vector<Place> Mount::samples(Duration begins, Duration ends) const {
  const std::size_t first = legAt(begins);
  const std::size_t last = legAt(ends);
  const auto endOf = [&](std::size_t n) { return n == last ? ends : legs_[n + 1].begins; };
  const auto beginOf = [&](std::size_t n) { return n == first ? begins : legs_[n].begins; };
  double length = 0;
  for (std::size_t n = first; n <= last; ++n) {
    length += lengthOf(legs_[n].at(endOf(n)) - legs_[n].at(beginOf(n)));
  }
  const double step = std::max(kStep, length / static_cast<double>(kMostSamples));
  std::vector<Place> samples;
  for (std::size_t n = first; n <= last; ++n) {
    const Offset from = legs_[n].at(beginOf(n));
    const Offset way = legs_[n].at(endOf(n)) - from;
    const double duration = seconds(endOf(n) - beginOf(n));
    if (duration <= 0) continue;
    const double count = std::max(std::ceil(lengthOf(way) / step), 1.0);
    for (int k = 0; k < static_cast<int>(count); ++k) {
      samples.push_back({from + way * ((k + 0.5) / count), duration / count});
    }
  }
  return samples;
}

std::vector<Place> Mount::path(Duration begins, Duration ends) const {
  begins = std::max(begins, legs_.front().begins);
  if (ends <= begins) return {Place{legs_[legAt(ends)].at(ends), 1}};
  const std::vector<Place> all = samples(begins, ends);
  std::vector<Place> places;
  for (double spacing = kSpacing; places.empty(); spacing *= 2) places = joined(all, spacing);
  const double whole = seconds(ends - begins);
  for (Place& place : places) place.weight = places.size() == 1 ? 1 : place.weight / whole;
  return places;
}

}  // namespace orvik::sim
