// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "sim/sensor_format.h"

namespace orvik::sim {

/// Which stars light which rows of a sensor, so that a few rows can be drawn without a look at
/// every star. The stars of a row come in the order in which they were added.
class StarRows {
 public:
  StarRows() = default;
  /// @param height of the sensor
  explicit StarRows(int height) : groups_(static_cast<std::size_t>(height / kRows + 1)) {}

  /// @param top, bottom the first and the last row that the star lights, on the sensor or beyond
  void add(std::uint32_t star, int top, int bottom) {
    const int last = std::min(bottom / kRows, static_cast<int>(groups_.size()) - 1);
    if (bottom < 0) return;
    for (int group = std::max(top, 0) / kRows; group <= last; ++group) {
      groups_[static_cast<std::size_t>(group)].push_back(star);
    }
  }

  /// Calls `draw(star, part)` for parts that together are `area`, with each star that lights rows
  /// of the part or rows beside it.
  template <typename Draw>
  void forEach(const Area& area, Draw draw) const {
    for (int top = area.y; top < area.bottom();) {
      const int group = top / kRows;
      const int bottom = std::min((group + 1) * kRows, area.bottom());
      const Area part{area.x, top, area.width, bottom - top};
      for (const std::uint32_t star : groups_[static_cast<std::size_t>(group)]) draw(star, part);
      top = bottom;
    }
  }

 private:
  static constexpr int kRows = 32;  ///< of a group

  std::vector<std::vector<std::uint32_t>> groups_;
};

}  // namespace orvik::sim
