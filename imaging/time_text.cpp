// SPDX-License-Identifier: MIT
#include "imaging/time_text.h"

#include <array>
#include <cstdio>
#include <ctime>
#include <ratio>

namespace orvik::imaging {
namespace {

using std::chrono::system_clock;
using Ticks = std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>;
// Midnight of 1 January 1970 in ticks since midnight of 1 January of year 1.
constexpr std::int64_t kUnixEpochTicks = 621'355'968'000'000'000;

}  // namespace

std::string utcText(system_clock::time_point time, int decimals) {
  const auto whole = std::chrono::floor<std::chrono::microseconds>(time);
  const auto seconds = std::chrono::floor<std::chrono::seconds>(whole);
  const std::time_t calendar = system_clock::to_time_t(seconds);
  std::tm utc = {};
  gmtime_r(&calendar, &utc);
  std::array<char, 80> text{};
  std::snprintf(text.data(), text.size(), "%04d-%02d-%02dT%02d:%02d:%02d.%06d", utc.tm_year + 1900,
                utc.tm_mon + 1, utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec,
                static_cast<int>((whole - seconds).count()));
  const std::string all = text.data();
  return all.substr(0, all.size() - 6 + static_cast<std::size_t>(decimals));
}

std::int64_t ticksUtc(system_clock::time_point time) {
  return kUnixEpochTicks + std::chrono::floor<Ticks>(time.time_since_epoch()).count();
}

std::int64_t ticksLocal(system_clock::time_point time) {
  const std::time_t calendar =
      system_clock::to_time_t(std::chrono::floor<std::chrono::seconds>(time));
  std::tm local = {};
  localtime_r(&calendar, &local);
  return ticksUtc(time) + Ticks(std::chrono::seconds(local.tm_gmtoff)).count();
}

std::string formatDuration(std::int64_t microseconds) {
  const auto us = static_cast<double>(microseconds);
  std::array<char, 40> text{};
  if (microseconds < 1000) {
    std::snprintf(text.data(), text.size(), "%.0f us", us);
  } else if (microseconds < 1'000'000) {
    std::snprintf(text.data(), text.size(), "%.6g ms", us / 1e3);
  } else {
    std::snprintf(text.data(), text.size(), "%.9g s", us / 1e6);
  }
  return text.data();
}

}  // namespace orvik::imaging
