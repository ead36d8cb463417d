// SPDX-License-Identifier: MIT
#pragma once

#include <exception>

#include "tools/orvikctl/failure.h"

namespace orvik::ctl {

/// Writes what has ended a command to standard error.
///
/// @param failure not null
/// @return the exit code that belongs to it
ExitCode reportFailure(const std::exception_ptr& failure);

}  // namespace orvik::ctl
