// SPDX-License-Identifier: MIT
#pragma once

#include <stop_token>
#include <string>

namespace orvik::ctl {

/// Asks the user at the terminal to do something, and waits for Enter.
///
/// @return false when a stop was requested
/// @throws Failure (kUsage) if there is nobody who could answer
bool waitForEnter(const std::string& what, const std::stop_token& stop);

}  // namespace orvik::ctl
