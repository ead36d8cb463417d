// SPDX-License-Identifier: MIT
#include "tools/orvikctl/look/image_report.h"

#include <cmath>

#include "imaging/mosaic.h"
#include "tools/orvikctl/units.h"

namespace orvik::ctl {

std::string measuresText(const Brightness& brightness, const std::optional<StarReading>& stars) {
  std::string text = "min " + std::to_string(brightness.min) + "  median " +
                     fixedText(brightness.median, 0) + "  max " + std::to_string(brightness.max) +
                     "  saturated " + fixedText(100 * brightness.saturated, 2) + " %";
  if (!stars) return text + "  no stars";
  return text + "  " + std::to_string(stars->stars) + (stars->stars == 1 ? " star" : " stars") +
         ", HFR " + fixedText(stars->hfr, 2);
}

Json imageJson(const imaging::ImageSource& image, const Brightness& brightness,
               const std::optional<StarReading>& stars) {
  return {{"width", image.size.width},
          {"height", image.size.height},
          {"bits", image.isWide() ? 16 : 8},
          {"channels", image.samplesPerPixel()},
          {"mosaic", image.mosaic ? Json(imaging::mosaic(*image.mosaic).name) : Json()},
          {"min", brightness.min},
          {"median", std::round(brightness.median)},
          {"max", brightness.max},
          {"saturated", brightness.saturated},
          {"stars", stars ? stars->stars : 0},
          {"hfr", stars ? Json(stars->hfr) : Json()}};
}

}  // namespace orvik::ctl
