// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace orvik::sim {

/// The colour filters of a sensor, named by the first two pixels of its first row.
enum class Mosaic : std::uint8_t { kRg, kBg, kGr, kGb, kMono };

enum class Filter : std::uint8_t { kRed, kGreen, kBlue, kClear };

/// A rectangle of pixels, of the sensor or of the sky beyond its edges.
struct Area {
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;

  friend bool operator==(const Area&, const Area&) = default;

  [[nodiscard]] constexpr bool empty() const { return width <= 0 || height <= 0; }
  [[nodiscard]] constexpr int right() const { return x + width; }
  [[nodiscard]] constexpr int bottom() const { return y + height; }
  [[nodiscard]] constexpr std::size_t pixels() const {
    return empty() ? 0 : static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  }
  [[nodiscard]] constexpr bool holds(const Area& other) const {
    return other.empty() ||
           (other.x >= x && other.y >= y && other.right() <= right() && other.bottom() <= bottom());
  }
  /// With `pixels` more on each side.
  [[nodiscard]] constexpr Area grown(int pixels) const {
    return {x - pixels, y - pixels, width + 2 * pixels, height + 2 * pixels};
  }
  /// What both have in common; empty when they do not touch.
  [[nodiscard]] constexpr Area common(const Area& other) const {
    const int left = std::max(x, other.x);
    const int top = std::max(y, other.y);
    return {left, top, std::max(std::min(right(), other.right()) - left, 0),
            std::max(std::min(bottom(), other.bottom()) - top, 0)};
  }
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
