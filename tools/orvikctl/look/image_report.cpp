// SPDX-License-Identifier: MIT
#include "tools/orvikctl/look/image_report.h"

#include <cmath>

#include "imaging/mosaic.h"
#include "tools/orvikctl/units.h"
namespace orvik::ctl {

std::string measuresText(const imaging::ImageSummary& summary,
                         const std::optional<StarReading>& stars) {
  std::string text = "min " + std::to_string(summary.min) + "  median " +
                     fixedText(summary.median, 0) + "  max " + std::to_string(summary.max) +
                     "  saturated " + fixedText(100 * summary.saturated, 2) + " %";
  if (!stars) return text + "  no stars";
  return text + "  " + std::to_string(stars->stars) + (stars->stars == 1 ? " star" : " stars") +
         ", HFR " + fixedText(stars->hfr, 2);
}

Json imageJson(const imaging::ImageSource& image, const imaging::ImageSummary& summary,
               const std::optional<StarReading>& stars) {
  return {{"width", image.size.width},
          {"height", image.size.height},
          {"bits", image.isWide() ? 16 : 8},
          {"channels", image.samplesPerPixel()},
          {"mosaic", image.mosaic ? Json(imaging::mosaic(*image.mosaic).name) : Json()},
          {"min", summary.min},
          {"median", summary.median},
          {"max", summary.max},
          {"saturated", summary.saturated},
          {"stars", stars ? stars->stars : 0},
          {"hfr", stars ? Json(stars->hfr) : Json()}};
}

}  // namespace orvik::ctl
