// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <string>

namespace orvik::ctl {

/// The length of time that an option gives.
///
/// @param option its name, for the message
/// @throws Failure (kUsage) if the text is no such time with a unit, or 0
std::chrono::microseconds timeOption(const std::string& text, const char* option);

/// The same in seconds.
inline double secondsOption(const std::string& text, const char* option) {
  return std::chrono::duration<double>(timeOption(text, option)).count();
}

}  // namespace orvik::ctl
