// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <string_view>

#include "seam/usb_host.h"

namespace orvik::fault {

/// The kinds of faults. What each does, actionFacts() says.
enum class Action : std::uint8_t {
  kFail,
  kStall,
  kTimeout,
  kDelay,
  kDeaf,
  kRefuse,
  kOverflow,
  kShort,
  kEmpty,
  kLong,
  kFlip,
  kDuplicate,
  kTear,
  kUnplug,
  kReplug,
};
inline constexpr int kActions = static_cast<int>(Action::kReplug) + 1;

/// What a rule looks at: the events of one device's conversation.
enum class Target : std::uint8_t {
  kAny,      ///< control transfers and bulk transfers, counted together
  kControl,  ///< control transfers
  kBulk,     ///< bulk transfers
  kOpen,     ///< openings of the device
  kClaim,    ///< claims of an interface
};

/// The number that may follow the name of a fault.
struct Amount {
  enum class Kind : std::uint8_t {
    kNone,
    kBytes,         ///< a count of bytes
    kPlace,         ///< a byte's place, counted from the end if it is negative
    kMilliseconds,  ///< a time
    kTimeRange,     ///< a time, or the shortest and the longest time: `N..M`
  };
  Kind kind = Kind::kNone;
  std::int32_t usual = 0;  ///< if the script gives none

  [[nodiscard]] std::int32_t least() const;
  [[nodiscard]] std::int32_t most() const;
};

/// Changes the data of a read.
/// @param data the whole buffer, of which `received` bytes have come
/// @param last what the previous read had received; empty if there was none
/// @return how much counts as received afterwards
using Edit = std::size_t (*)(std::int32_t amount, std::span<std::uint8_t> data,
                             std::size_t received, std::span<const std::uint8_t> last);

/// All there is to know of a kind of fault: its name in a script, what it may happen to, and what
/// it does to a transfer. The parser, the fault injection and docs/faults.md follow from it.
struct ActionFacts {
  std::string_view name;
  std::string_view effect;  ///< what the driver sees, for docs/faults.md
  Amount amount{};
  bool onControl = true;
  bool onBulk = true;
  bool onOpening = false;  ///< may also happen to an opening and to a claim

  /// How the transfer ends, if it never reaches the device.
  std::optional<seam::TransferStatus> endsAs{};
  /// How the transfer is reported, although it succeeded.
  std::optional<seam::TransferStatus> reportedAs{};
  Edit edit = nullptr;
  bool usesLastRead = false;   ///< `edit` needs the data of the previous read
  bool isLate = false;         ///< ends `amount` milliseconds late
  bool resistsCancel = false;  ///< a cancellation does not end it sooner
  bool isGone = false;         ///< the device is unplugged

  [[nodiscard]] bool mayHappenTo(Target target) const;
};

/// The table of faults.
ActionFacts actionFacts(Action action);

}  // namespace orvik::fault
