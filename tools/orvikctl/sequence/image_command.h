// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <stop_token>
#include <string>

#include "tools/orvikctl/sequence/plan.h"

namespace orvik::ctl {

/// Runs a plan's command for an image, with /bin/sh, and waits for its end. Its output goes to
/// standard error, it has no input. At the time limit, or when a stop is requested, the command and
/// all that it has started are ended: asked first, killed two seconds later.
///
/// @return "" if it has succeeded, else what went wrong
std::string runImageCommand(const CommandPlan& command, const std::filesystem::path& file,
                            const std::stop_token& stop);

}  // namespace orvik::ctl
