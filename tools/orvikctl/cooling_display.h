// SPDX-License-Identifier: MIT
#pragma once

#include <deque>
#include <string>
#include <vector>

#include "imaging/cooling.h"
#include "tools/orvikctl/terminal/redrawn_area.h"

namespace orvik::ctl {

/// What a fault means, in words.
std::string faultText(Orvik_COOLER_FAULT fault);

/// Says on standard error when a cooler's fault begins, and when it ends.
class CoolerFaultNotes {
 public:
  void note(Orvik_COOLER_FAULT fault);

 private:
  Orvik_COOLER_FAULT fault_ = Orvik_COOLER_NO_FAULT;
};

/// "0:42  12.3 degC  target 11 degC  power 38 %", and a fault if there is one.
std::string coolingText(const imaging::CoolingSample& sample);

/// Draws temperature ('*') and target ('-') over time, the latest at the right.
///
/// @param columns, rows size of the drawing without its axis, 1 or more
/// @return the lines, top first, each with its temperature in front
std::vector<std::string> coolingPlot(const std::deque<imaging::CoolingSample>& samples, int columns,
                                     int rows);

/// Shows how cooling proceeds: on a terminal as a plot that is redrawn, elsewhere as lines of text.
class CoolingDisplay {
 public:
  /// @param every seconds between two lines where there is no terminal
  CoolingDisplay(bool silent, double every);

  void show(const imaging::CoolingSample& sample);

 private:
  void draw();

  bool silent_;
  bool terminal_;
  double every_;
  double next_ = 0;
  RedrawnArea area_;
  std::deque<imaging::CoolingSample> samples_;
};

}  // namespace orvik::ctl
