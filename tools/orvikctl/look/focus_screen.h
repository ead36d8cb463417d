// SPDX-License-Identifier: MIT
#pragma once

#include <optional>

#include "imaging/view/render.h"
#include "tools/orvikctl/look/focus_course.h"
#include "tools/orvikctl/look/screen_options.h"
#include "tools/orvikctl/terminal/redrawn_area.h"

namespace orvik::ctl {

/// Shows the focus on a terminal: the course of the half-flux radius as a plot, the brightest star
/// beside it, and the measures below, drawn anew in place.
class FocusScreen {
 public:
  explicit FocusScreen(const Screen& screen) : screen_(screen) {}

  void show(const FocusCourse& course, const imaging::ImageSource& image);

 private:
  PictureText starText(const StarReading& reading, const imaging::ImageSource& image, int columns,
                       int rows, TerminalSize cell);

  Screen screen_;
  imaging::Renderer renderer_;
  imaging::StretchTable table_;
  RedrawnArea area_;
};

/// The part of an image that shows a star with its surroundings: a square, as far as the image
/// reaches.
imaging::Window windowAround(const imaging::Star& star, const imaging::ImageSource& image);

}  // namespace orvik::ctl
