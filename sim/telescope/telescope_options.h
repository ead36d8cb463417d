// SPDX-License-Identifier: MIT
#pragma once

#include "sim/sky/look.h"

namespace orvik::sim {

/// A defocus that changes evenly from the plugging on and then stays: the radius of a star's disc
/// in pixels, 0 in focus. The sign tells the side of focus.
struct FocusCourse {
  double from = 0;
  double to = 0;
  double seconds = 0;  ///< 0: at `to` from the beginning

  friend bool operator==(const FocusCourse&, const FocusCourse&) = default;
};

/// What stands between the sky and the sensor.
struct TelescopeOptions {
  Offset drift = {};      ///< pixels per second
  double guideRate = 8;   ///< pixels per second while a guide line is on
  double guideAngle = 0;  ///< degrees by which the mount's axes are turned, clockwise in the image
  double seeing = 0;      ///< full width at half maximum of the air's blur in pixels
  FocusCourse focus = {};

  friend bool operator==(const TelescopeOptions&, const TelescopeOptions&) = default;
};

}  // namespace orvik::sim
