// SPDX-License-Identifier: MIT
#include "sim/sky/light_plane.h"

#include <algorithm>
#include <array>

namespace orvik::sim {

void LightPlane::put(const Area& part, std::span<const Light> lights) {
  const auto width = static_cast<std::size_t>(part.width);
  constexpr std::array kColours = {Filter::kRed, Filter::kGreen, Filter::kBlue};
  for (std::size_t plane = 0; plane < planes_.size(); ++plane) {
    const Filter filter = planes_.size() == 1 ? Filter::kClear : kColours.at(plane);
    for (int y = part.y; y < part.bottom(); ++y) {
      const auto from = lights.subspan(static_cast<std::size_t>(y - part.y) * width, width);
      std::ranges::transform(from, row(plane, part.x, y).begin(),
                             [=](const Light& light) { return behind(filter, light); });
    }
  }
}

void LightPlane::copy(const LightPlane& other) {
  const Area common = area_.common(other.area_);
  if (common.empty()) return;
  for (std::size_t plane = 0; plane < planes_.size(); ++plane) {
    for (int y = common.y; y < common.bottom(); ++y) {
      std::ranges::copy(other.row(plane, common.x, y).first(static_cast<std::size_t>(common.width)),
                        row(plane, common.x, y).begin());
    }
  }
}

}  // namespace orvik::sim
