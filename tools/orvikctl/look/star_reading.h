// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <vector>

#include "imaging/stars/star_finder.h"

namespace orvik::ctl {

/// What the stars of an image tell of its focus. Lengths are pixels of the image.
struct StarReading {
  int stars = 0;
  /// Half-flux radius and width at half the height: medians of the brightest stars, of those that
  /// are not saturated if there are any.
  double hfr = 0;
  double fwhm = 0;
  imaging::Star brightest;
};

/// @param stars the brightest first; nothing is returned for none
std::optional<StarReading> readingOf(const std::vector<imaging::Star>& stars);

}  // namespace orvik::ctl
