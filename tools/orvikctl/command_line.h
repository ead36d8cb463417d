// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "tools/orvikctl/common_options.h"

namespace orvik::ctl {

/// Adds everything that the program understands to `program`.
///
/// @return the subcommands, in the order of the help
std::vector<Command> defineCommandLine(CLI::App& program);

}  // namespace orvik::ctl
