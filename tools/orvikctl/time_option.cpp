// SPDX-License-Identifier: MIT
#include "tools/orvikctl/time_option.h"

#include "tools/orvikctl/failure.h"
#include "tools/orvikctl/units.h"

namespace orvik::ctl {

std::chrono::microseconds timeOption(const std::string& text, const char* option) {
  const auto time = parseDuration(text);
  if (time && *time > 0) return std::chrono::microseconds(*time);
  throw Failure(ExitCode::kUsage,
                std::string(option) + " " + text + ": give a time such as 500ms, 90s or 2min.");
}

}  // namespace orvik::ctl
