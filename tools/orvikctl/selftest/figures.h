// SPDX-License-Identifier: MIT
#pragma once

#include <sstream>
#include <string>

namespace orvik::ctl::selftest {

/// A measured value with three significant digits: "12.3 ms".
inline std::string figure(double value, const char* unit) {
  std::ostringstream text;
  text.precision(3);
  text << value << ' ' << unit;
  return text.str();
}

}  // namespace orvik::ctl::selftest
