// SPDX-License-Identifier: MIT
#pragma once

#include <span>
#include <string>
#include <vector>

namespace orvik::ctl {

/// Values over time, drawn with one character. Values that are not finite are left out.
struct Course {
  std::vector<double> values;
  char mark = '*';
};

/// Size and axis of a plot.
struct PlotFrame {
  int columns = 64;      ///< without the axis, 1 or more
  int rows = 10;         ///< 1 or more
  int decimals = 1;      ///< of the values at the axis
  double leastSpan = 1;  ///< difference of the values at top and bottom, at least; more than 0
};

/// Draws courses over time, the latest values at the right; of a place that several share the last
/// course has it.
///
/// @return the lines, top first, each with its value in front; none without any finite value
std::vector<std::string> plotLines(std::span<const Course> courses, const PlotFrame& frame);

/// Columns that the axis of such a plot takes.
constexpr int kPlotAxisColumns = 8;

}  // namespace orvik::ctl
