// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

#include "orvik/orvik.h"
#include "tools/orvikctl/failure.h"

namespace orvik::ctl {

/// How the program ends because of a library error.
ExitCode exitCodeOf(Orvik_ERROR_CODE code);

/// What a library error means to the person at the keyboard, with its number.
std::string errorText(Orvik_ERROR_CODE code);

/// Throws a Failure unless `code` is #Orvik_OK.
///
/// @param doing what the program was about, as in "opening Vek T15C 0012ABCD"
void check(Orvik_ERROR_CODE code, std::string_view doing);

}  // namespace orvik::ctl
