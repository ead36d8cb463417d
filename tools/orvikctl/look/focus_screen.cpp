// SPDX-License-Identifier: MIT
#include "tools/orvikctl/look/focus_screen.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iostream>

#include "tools/orvikctl/terminal/plot.h"

namespace orvik::ctl {
namespace {

constexpr int kLinesBelow = 3;  // two of text, and the one where the cursor rests
constexpr int kPlotRows = 12;
constexpr int kStarColumns = 2 * kPlotRows;  // cells are about twice as high as wide
constexpr int kGap = 2;
constexpr int kLeastPlot = 20;
constexpr int kMostPlot = 64;

}  // namespace

imaging::Window windowAround(const imaging::Star& star, const imaging::ImageSource& image) {
  constexpr int kStep = 8;  // the picture does not change its scale with every frame
  constexpr int kLeast = 16;
  constexpr double kRadii = 6;
  const int wanted = static_cast<int>(std::ceil(kRadii * star.hfr / kStep)) * kStep;
  const int side = std::min({std::max(wanted, kLeast), image.size.width, image.size.height});
  const auto begin = [side](double centre, int whole) {
    return std::clamp(static_cast<int>(std::lround(centre)) - side / 2, 0, whole - side);
  };
  return {begin(star.x, image.size.width), begin(star.y, image.size.height), side, side};
}

void FocusScreen::show(const FocusCourse& course, const imaging::ImageSource& image) {
  const TerminalSize size = screen_.size();
  const int rows = std::clamp(size.rows - kLinesBelow, 1, kPlotRows);
  const int starRoom = kGap + kStarColumns;
  const bool hasRoom = size.columns >= kPlotAxisColumns + kLeastPlot + starRoom;
  const int plotColumns =
      std::clamp(size.columns - kPlotAxisColumns - (hasRoom ? starRoom : 0) - 1, 1, kMostPlot);

  const std::array courses = {Course{course.bestRadii(), '-'}, Course{course.radii(), '*'}};
  std::vector<std::string> lines =
      plotLines(courses, {.columns = plotColumns, .rows = rows, .decimals = 2, .leastSpan = 0.5});
  const int width = kPlotAxisColumns + plotColumns;
  lines.resize(static_cast<std::size_t>(rows), std::string(static_cast<std::size_t>(width), ' '));

  std::optional<Graphics> graphics;
  const auto& reading = course.last().reading;
  if (hasRoom && reading) {
    const PictureText star = starText(*reading, image, kStarColumns, rows, size);
    if (isGraphics(screen_.mode)) {
      graphics = Graphics{0, width + kGap, star.graphics, star.removal};
    }
    for (std::size_t i = 0; i < std::min(lines.size(), star.lines.size()); ++i) {
      lines[i].append(kGap, ' ').append(star.lines[i]);
    }
  }
  std::string below = "* HFR, pixels   - best so far";
  if (reading) {
    const imaging::Star& star = reading->brightest;
    below += "   brightest star at " +
             std::to_string(std::lround(course.last().offset.width + star.x)) + "," +
             std::to_string(std::lround(course.last().offset.height + star.y));
  }
  for (const std::string& text : {focusText(course), below}) {
    lines.push_back(text.substr(0, static_cast<std::size_t>(size.columns - 1)));
  }
  std::cout << area_.draw(lines, graphics) << std::flush;
}

PictureText FocusScreen::starText(const StarReading& reading, const imaging::ImageSource& image,
                                  int columns, int rows, TerminalSize cell) {
  cell.columns = columns;
  cell.rows = rows;
  const double depth = image.depth();
  // From the sky to the peak, so that the shape is seen whatever the star's brightness.
  imaging::Stretch stretch{imaging::Stretch::Mode::kLinear};
  stretch.black = std::clamp(reading.brightest.background / depth, 0.0, 0.99);
  stretch.white = std::clamp(reading.brightest.peak / depth, stretch.black + 0.005, 1.0);
  table_.set(stretch);
  const imaging::RenderPlan plan = imaging::planFor(image, windowAround(reading.brightest, image),
                                                    pixelsOf(screen_.mode, cell), 1);
  const auto pixels = renderer_.render(image, plan, table_);
  return textOf({pixels, plan.size(), image.isColour()}, screen_.mode, screen_.colours, cell);
}

}  // namespace orvik::ctl
