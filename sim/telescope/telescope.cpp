// SPDX-License-Identifier: MIT
#include "sim/telescope/telescope.h"

#include <algorithm>
#include <chrono>
#include <cmath>

namespace orvik::sim {
namespace {

// Rounding makes equal what differs by nothing that can be seen, so that the picture before can be
// used again.
constexpr double kOffsetUnits = 1024;  // in a pixel
constexpr double kSigmaUnits = 32;
constexpr double kDiscUnits = 8;  // coarse, since each change costs a blur of the whole object

double rounded(double value, double units) { return std::round(value * units) / units; }

}  // namespace

double Telescope::defocus(double time) const {
  // An exposure may have begun before the plugging.
  const double passed = std::max(time, 0.0);
  if (passed >= focus_.seconds) return focus_.to;
  return focus_.from + (focus_.to - focus_.from) * passed / focus_.seconds;
}

Look Telescope::look(Duration begins, Duration ends) const {
  const double from = std::chrono::duration<double>(begins - plugged_).count();
  const double to = std::chrono::duration<double>(ends - plugged_).count();
  Look look;
  look.places = mount_.path(begins, ends);
  const Offset tilt = air_.tilt(from, to);
  for (Place& place : look.places) {
    place.offset = place.offset + tilt;
    place.offset = {rounded(place.offset.x, kOffsetUnits), rounded(place.offset.y, kOffsetUnits)};
  }
  look.airSigma = rounded(air_.sigma(to - from), kSigmaUnits);
  look.discRadius = rounded(std::abs(defocus((from + to) / 2)), kDiscUnits);
  return look;
}

}  // namespace orvik::sim
