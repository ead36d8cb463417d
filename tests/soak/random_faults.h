// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <string>

#include "sim/random.h"

namespace orvik::soak {

/// A script of up to three faults, such as a long night may bring. None of them lasts so long that
/// a call could miss its deadline by right.
inline std::string randomFaults(sim::Random& random) {
  static constexpr std::array kFaults = {
      "bulk short 2",      "bulk short 5000",   "bulk long 2",       "bulk long 3000",
      "bulk empty",        "bulk flip 0",       "bulk flip -1",      "bulk overflow",
      "bulk tear",         "bulk duplicate",    "bulk stall",        "bulk fail",
      "bulk refuse",       "bulk delay 1..40",  "bulk deaf 1..60",   "bulk timeout",
      "control fail",      "control stall",     "control short 1",   "control delay 1..20",
      "control deaf 1..9", "control B3 flip 0", "control C7 flip 1", "control BC flip 0",
      "control C3 flip 9", "any fail",          "claim refuse",      "open refuse",
  };
  static constexpr std::array kMoments = {" every 5",    " every 17", " chance 0.02",
                                          " chance 0.2", " at 9",     " from 40 to 60"};
  std::string script = "seed " + std::to_string(random.below(1'000'000));
  for (int n = random.below(4); n > 0; --n) {
    script.append(";").append(kFaults.at(static_cast<std::size_t>(random.below(kFaults.size()))));
    script.append(kMoments.at(static_cast<std::size_t>(random.below(kMoments.size()))));
  }
  if (random.below(12) == 0) script += ";control timeout at 30";
  if (random.below(10) == 0) script += ";any unplug at " + std::to_string(1 + random.below(400));
  if (random.below(6) == 0) script += ";any replug 30 at " + std::to_string(1 + random.below(400));
  return script;
}

}  // namespace orvik::soak
