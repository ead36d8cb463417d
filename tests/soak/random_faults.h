// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <string>

#include "sim/fault/actions.h"
#include "sim/random.h"

namespace orvik::soak {

/// @return one of the words, chosen at random.
template <std::size_t N>
const char* oneOf(const std::array<const char*, N>& words, sim::Random& random) {
  return words.at(static_cast<std::size_t>(random.below(int{N})));
}

/// @return an amount that the driver must handle within its deadlines.
inline std::string randomAmount(const fault::Amount& amount, sim::Random& random) {
  using Kind = fault::Amount::Kind;
  if (amount.kind == Kind::kBytes) return std::to_string(1 + random.below(5000));
  if (amount.kind == Kind::kPlace) return std::to_string(random.below(12) - 2);
  if (amount.kind == Kind::kTimeRange) return "1.." + std::to_string(5 + random.below(50));
  return "";
}

/// @return a rule for any fault except those that remove the device; randomFaults() adds those.
inline std::string randomRule(sim::Random& random) {
  static constexpr std::array kRequests = {"control", "control B3", "control C7", "control BC",
                                           "control C3"};
  static constexpr std::array kMoments = {" every 5",    " every 17", " chance 0.02",
                                          " chance 0.2", " at 9",     " from 40 to 60"};
  for (;;) {
    const auto action = static_cast<fault::Action>(random.below(fault::kActions));
    const fault::ActionFacts facts = fault::actionFacts(action);
    // A request code restricts the target, so that each kind of request is damaged often enough.
    const int side = random.below(facts.onOpening ? 3 : 2);
    if (facts.isGone || (side == 0 && !facts.onControl)) continue;
    if (side == 0 && action == fault::Action::kTimeout) continue;
    std::string rule = side == 0 ? oneOf(kRequests, random) : "bulk";
    if (side == 2) rule = random.below(2) == 0 ? "open" : "claim";
    rule.append(" ").append(facts.name).append(" ").append(randomAmount(facts.amount, random));
    return rule.append(oneOf(kMoments, random));
  }
}

/// @return a script of up to three random faults, and sometimes a timeout, an unplug or a
/// replug. No fault lasts long enough to justify a missed deadline.
inline std::string randomFaults(sim::Random& random) {
  std::string script = "seed " + std::to_string(random.below(1'000'000));
  for (int n = random.below(4); n > 0; --n) script.append(";").append(randomRule(random));
  if (random.below(12) == 0) script += ";control timeout at 30";
  if (random.below(10) == 0) script += ";any unplug at " + std::to_string(1 + random.below(400));
  if (random.below(6) == 0) script += ";any replug 30 at " + std::to_string(1 + random.below(400));
  return script;
}

}  // namespace orvik::soak
