// SPDX-License-Identifier: MIT
#pragma once

#include <deque>
#include <string>
#include <vector>

#include "orvik/orvik_service.h"

namespace orvik::ctl {

/// How cooling stands at a moment.
struct CoolingSample {
  double seconds = 0;      ///< since cooling began
  double temperature = 0;  ///< of the sensor, degrees Celsius
  int target = 0;          ///< where the ramp is, degrees Celsius
  int power = 0;           ///< percent
  Orvik_COOLER_FAULT fault =
      Orvik_COOLER_NO_FAULT;  ///< if any, `temperature` is the last valid one
};

/// What a fault means, in words.
std::string faultText(Orvik_COOLER_FAULT fault);

/// "0:42  12.3 degC  target 11 degC  power 38 %", and a fault if there is one.
std::string coolingText(const CoolingSample& sample);

/// Draws temperature ('*') and target ('-') over time, the latest at the right.
///
/// @param columns, rows size of the drawing without its axis, 1 or more
/// @return the lines, top first, each with its temperature in front
std::vector<std::string> coolingPlot(const std::deque<CoolingSample>& samples, int columns,
                                     int rows);

/// Shows how cooling proceeds: on a terminal as a plot that is redrawn, elsewhere as lines of text.
class CoolingDisplay {
 public:
  /// @param every seconds between two lines where there is no terminal
  CoolingDisplay(bool silent, double every);

  void show(const CoolingSample& sample);

 private:
  void draw();

  bool silent_;
  bool terminal_;
  double every_;
  double next_ = 0;
  std::size_t drawnLines_ = 0;
  std::deque<CoolingSample> samples_;
};

}  // namespace orvik::ctl
