// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "sim/fault/fault_host.h"

namespace orvik::test {

/// Parses a script in the language of docs/faults.md; "" for no faults.
inline fault::Script scriptOf(std::string_view text) {
  fault::Script script;
  EXPECT_EQ(fault::parseScript(text, script), "") << text;
  return script;
}

/// Makes the `k`-th control transfer from now on fail; 0 for none.
inline void failControl(fault::FaultHost& host, int k) {
  host.setScript(scriptOf(k == 0 ? "" : "control fail at " + std::to_string(k)));
}

}  // namespace orvik::test
