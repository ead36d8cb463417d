// SPDX-License-Identifier: MIT
#pragma once

#include "orvik/orvik.h"
#include "tools/orvikctl/failure.h"

namespace orvik::ctl {

/// How the program ends because of a library error.
ExitCode exitCodeOf(Orvik_ERROR_CODE code);

}  // namespace orvik::ctl
