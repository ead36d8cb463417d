// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orvik::fault {

/// What a rule looks at: the events of one device's conversation.
enum class Target : std::uint8_t {
  kAny,      ///< control transfers and bulk transfers, counted together
  kControl,  ///< control transfers
  kBulk,     ///< bulk transfers
  kOpen,     ///< openings of the device
  kClaim,    ///< claims of an interface
};

enum class Action : std::uint8_t {
  kFail,      ///< does not reach the device and ends with an error
  kStall,     ///< the device refuses; a bulk pipe is then halted
  kTimeOut,   ///< never answered: ends when it is cancelled, or at the host's own limit
  kDelay,     ///< ends late, by `amount` and up to `amount` + `spread` milliseconds
  kDeaf,      ///< as kDelay, and a cancellation does not end it sooner
  kRefuse,    ///< the system does not take it: no memory; not to be opened; held by another program
  kOverflow,  ///< reported as having carried too much
  kShort,     ///< a read loses its last `amount` bytes
  kEmpty,     ///< a read ends without data; the data goes to the reads after it
  kLong,      ///< `amount` bytes too many: a read gets only these, its data goes to those after it
  kFlip,      ///< all bits of a read's byte at `amount` are inverted; counted from its end below 0
  kDuplicate,  ///< a read gets the data of the one before it once more
  kTear,       ///< a read's second half is that of the one before it
  kUnplug,     ///< the device is gone for good
  kReplug,     ///< the device is gone, and back under another address `amount` ms later
};
inline constexpr int kActions = static_cast<int>(Action::kReplug) + 1;

/// Which of the events that a rule looks at it strikes. All conditions must hold.
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

/// What goes wrong with a device. Where several rules strike one event, the first of them does.
struct Script {
  std::vector<Rule> rules;
  std::uint64_t seed = 1;  ///< of everything that happens by chance
};

/// Reads a script in the language of docs/faults.md.
/// @return "" or one sentence that says what is wrong; `script` is then of no use.
std::string parseScript(std::string_view text, Script& script);

}  // namespace orvik::fault
