// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

#include "orvik/orvik.h"
#include "tools/orvikctl/failure.h"

namespace orvik::ctl {

/** What a library error means to the person at the keyboard. */
struct ErrorText {
  Orvik_ERROR_CODE code;
  ExitCode exitCode;
  const char* what;  ///< what happened, a clause without a full stop
  const char* next;  ///< what to do about it, whole sentences
};

/** The text of any code; numbers that the library does not know get a text of their own. */
const ErrorText& explain(Orvik_ERROR_CODE code);

/**
 * Throws a Failure unless `code` is #Orvik_OK.
 *
 * @param doing what the program was about, as in "opening camera 0"
 */
void check(Orvik_ERROR_CODE code, std::string_view doing);

}  // namespace orvik::ctl
