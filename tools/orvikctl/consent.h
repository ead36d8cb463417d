// SPDX-License-Identifier: MIT
#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace orvik::ctl {

/// Adds `--yes`; `yes` must live as long as `app`.
void addConsentOption(CLI::App& app, bool& yes);

/// Asks at the terminal whether the camera may be written to, unless `yes` has answered already.
///
/// @param what will happen, a sentence
/// @throws Failure (kUsage) if the answer is no, or there is no terminal to ask at
void requireConsent(bool yes, const std::string& what);

}  // namespace orvik::ctl
