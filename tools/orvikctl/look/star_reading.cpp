// SPDX-License-Identifier: MIT
#include "tools/orvikctl/look/star_reading.h"

#include <algorithm>

namespace orvik::ctl {
namespace {

// Enough for a steady median; fainter ones are measured less well.
constexpr std::size_t kMeasured = 7;

double medianOf(const std::vector<imaging::Star>& stars, double imaging::Star::*member) {
  std::vector<double> values(stars.size());
  std::ranges::transform(stars, values.begin(),
                         [member](const imaging::Star& star) { return star.*member; });
  std::ranges::sort(values);
  const std::size_t half = values.size() / 2;
  return values.size() % 2 == 1 ? values[half] : (values[half - 1] + values[half]) / 2;
}

}  // namespace

std::optional<StarReading> readingOf(const std::vector<imaging::Star>& stars) {
  if (stars.empty()) return std::nullopt;
  std::vector<imaging::Star> measured;
  // A saturated star has lost its peak and seems wider than it is.
  std::ranges::copy_if(stars, std::back_inserter(measured),
                       [](const imaging::Star& star) { return !star.saturated; });
  if (measured.empty()) measured = stars;
  measured.resize(std::min(measured.size(), kMeasured));
  return StarReading{static_cast<int>(stars.size()), medianOf(measured, &imaging::Star::hfr),
                     medianOf(measured, &imaging::Star::fwhm), stars.front()};
}

}  // namespace orvik::ctl
