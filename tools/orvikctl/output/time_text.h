// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace orvik::ctl {

/// UTC as FITS writes it: "2024-02-29T12:34:56.789", cut to milliseconds.
std::string utcText(std::chrono::system_clock::time_point time);

/// Ticks of 100 ns since the start of year 1, UTC.
std::int64_t ticksUtc(std::chrono::system_clock::time_point time);

/// The same of the local wall clock.
std::int64_t ticksLocal(std::chrono::system_clock::time_point time);

}  // namespace orvik::ctl
