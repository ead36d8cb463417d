// SPDX-License-Identifier: MIT
#include "delivery/local_time.h"

#include <chrono>
#include <ctime>

namespace orvik {

std::optional<TimeOfDay> localTimeOfDay() {
  using std::chrono::system_clock;
  const auto now = std::chrono::floor<std::chrono::milliseconds>(system_clock::now());
  const auto seconds = std::chrono::floor<std::chrono::seconds>(now);
  const std::time_t time = system_clock::to_time_t(seconds);
  TimeOfDay found{.local = {}, .milliseconds = static_cast<int>((now - seconds).count())};
  if (localtime_r(&time, &found.local) == nullptr) return std::nullopt;
  return found;
}

}  // namespace orvik
