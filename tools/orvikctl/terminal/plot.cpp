// SPDX-License-Identifier: MIT
#include "tools/orvikctl/terminal/plot.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <limits>

namespace orvik::ctl {
namespace {

/// The latest values, as many as the plot has columns.
std::span<const double> shownOf(const Course& course, int columns) {
  const std::span<const double> all(course.values);
  return all.last(std::min(all.size(), static_cast<std::size_t>(columns)));
}

std::string axisText(double value, int decimals) {
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%6.*f |", decimals, value);
  return text.data();
}

}  // namespace

std::vector<std::string> plotLines(std::span<const Course> courses, const PlotFrame& frame) {
  double low = std::numeric_limits<double>::infinity();
  double high = -low;
  for (const Course& course : courses) {
    for (const double value : shownOf(course, frame.columns)) {
      if (!std::isfinite(value)) continue;
      low = std::min(low, value);
      high = std::max(high, value);
    }
  }
  if (low > high) return {};
  high = std::max(high, low + frame.leastSpan);
  const double step = frame.rows > 1 ? (high - low) / (frame.rows - 1) : frame.leastSpan;

  const auto columns = static_cast<std::size_t>(frame.columns);
  std::vector<std::string> lines(static_cast<std::size_t>(frame.rows), std::string(columns, ' '));
  for (const Course& course : courses) {
    const std::span<const double> shown = shownOf(course, frame.columns);
    std::size_t column = columns - shown.size();
    for (const double value : shown) {
      const std::size_t at = column++;
      if (!std::isfinite(value)) continue;
      const auto row = static_cast<std::size_t>(std::lround((high - value) / step));
      if (row < lines.size()) lines[row][at] = course.mark;
    }
  }
  for (std::size_t row = 0; row < lines.size(); ++row) {
    lines[row].insert(0, axisText(high - static_cast<double>(row) * step, frame.decimals));
  }
  return lines;
}

}  // namespace orvik::ctl
