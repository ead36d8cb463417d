// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace orvik::imaging {

/// UTC as FITS writes it: "2024-02-29T12:34:56.789", cut to so many decimals, 1 to 6.
std::string utcText(std::chrono::system_clock::time_point time, int decimals = 3);

/// Ticks of 100 ns since the start of year 1, UTC.
std::int64_t ticksUtc(std::chrono::system_clock::time_point time);

/// The same of the local wall clock.
std::int64_t ticksLocal(std::chrono::system_clock::time_point time);

/// Writes microseconds in the unit that reads best: "32 us", "20 ms", "2.5 s".
std::string formatDuration(std::int64_t microseconds);

}  // namespace orvik::imaging
