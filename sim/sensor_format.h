// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace orvik::sim {

/// The colour filters of a sensor, named by the first two pixels of its first row.
enum class Mosaic : std::uint8_t { kRg, kBg, kGr, kGb, kMono };

enum class Filter : std::uint8_t { kRed, kGreen, kBlue, kClear };

/// A rectangle of sensor pixels.
struct Area {
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;

  friend bool operator==(const Area&, const Area&) = default;
};

/// Size and colour filters of a sensor.
struct SensorFormat {
  int width = 0;   ///< pixels
  int height = 0;  ///< pixels
  Mosaic mosaic = Mosaic::kMono;

  /// Whether an area has pixels, and all of them on the sensor.
  [[nodiscard]] constexpr bool holds(const Area& area) const {
    return area.x >= 0 && area.y >= 0 && area.width > 0 && area.height > 0 &&
           area.x + area.width <= width && area.y + area.height <= height;
  }

  /// The filter over the sensor pixel in column `x`, row `y`.
  [[nodiscard]] constexpr Filter filterAt(int x, int y) const {
    if (mosaic == Mosaic::kMono) return Filter::kClear;
    const bool redInOddColumn = mosaic == Mosaic::kBg || mosaic == Mosaic::kGr;
    const bool redInOddRow = mosaic == Mosaic::kBg || mosaic == Mosaic::kGb;
    const bool redColumn = ((x & 1) != 0) == redInOddColumn;
    const bool redRow = ((y & 1) != 0) == redInOddRow;
    if (redColumn != redRow) return Filter::kGreen;
    return redColumn ? Filter::kRed : Filter::kBlue;
  }
};

}  // namespace orvik::sim
