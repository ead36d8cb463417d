// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sim/fault/actions.h"

namespace orvik::fault {

/// Which of its target's events a rule strikes. All conditions must hold.
struct When {
  std::uint64_t first = 1;  ///< events count from 1
  std::uint64_t last = std::numeric_limits<std::uint64_t>::max();
  std::uint64_t every = 1;
  double chance = 1;
};

struct Rule {
  Target target = Target::kAny;
  std::optional<std::uint8_t> request;  ///< control transfers with this request code only
  Action action = Action::kFail;
  std::int32_t amount = 0;
  std::int32_t spread = 0;
  When when;
};

/// What goes wrong with a device. If several rules apply to one event, the first of them is used.
struct Script {
  std::vector<Rule> rules;
  std::uint64_t seed = 1;  ///< of the rules with a chance
};

/// Reads a script in the language of docs/faults.md.
/// @return "", or one sentence that says what is wrong; `script` is then undefined
std::string parseScript(std::string_view text, Script& script);

}  // namespace orvik::fault
