// SPDX-License-Identifier: MIT
#include "sim/fault/actions.h"

#include <algorithm>

namespace orvik::fault {
namespace {

using seam::TransferStatus;
using Data = std::span<std::uint8_t>;
using Last = std::span<const std::uint8_t>;

std::size_t cutShort(std::int32_t amount, Data, std::size_t received, Last) {
  const auto lost = static_cast<std::size_t>(std::max(amount, 0));
  return received - std::min(received, lost);
}

std::size_t invertByte(std::int32_t amount, Data data, std::size_t received, Last) {
  const auto size = static_cast<std::int64_t>(received);
  const std::int64_t place = amount < 0 ? size + amount : amount;
  if (place >= 0 && place < size) data[static_cast<std::size_t>(place)] ^= 0xFFU;
  return received;
}

std::size_t repeatLast(std::int32_t, Data data, std::size_t received, Last last) {
  if (last.empty()) return received;
  const std::size_t count = std::min(last.size(), data.size());
  std::ranges::copy(last.first(count), data.begin());
  return count;
}

std::size_t tear(std::int32_t, Data data, std::size_t received, Last last) {
  if (last.size() < received) return received;
  const std::size_t half = received / 2;
  std::ranges::copy(last.subspan(half, received - half), data.subspan(half).begin());
  return received;
}

}  // namespace

std::int32_t Amount::least() const {
  switch (kind) {
    case Kind::kBytes:
      return 1;
    case Kind::kPlace:
      return -most();
    case Kind::kNone:
    case Kind::kMilliseconds:
    case Kind::kTimeRange:
      break;
  }
  return 0;
}

std::int32_t Amount::most() const {
  constexpr std::int32_t kMegabyte = 1 << 20;
  constexpr std::int32_t kMinute = 60'000;
  switch (kind) {
    case Kind::kNone:
      break;
    case Kind::kBytes:
      return kMegabyte;
    case Kind::kPlace:
      return std::numeric_limits<std::int32_t>::max();
    case Kind::kMilliseconds:
    case Kind::kTimeRange:
      return kMinute;
  }
  return -1;  // below least(): there is no amount to give
}

bool ActionFacts::mayHappenTo(Target target) const {
  switch (target) {
    case Target::kAny:
      return onControl && onBulk;
    case Target::kControl:
      return onControl;
    case Target::kBulk:
      return onBulk;
    case Target::kOpen:
    case Target::kClaim:
      break;
  }
  return onOpening;
}

// A switch, so that the compiler names a fault that has no row.
namespace {

constexpr ActionFacts factsOf(Action action) {
  using enum Amount::Kind;
  switch (action) {
    case Action::kFail:
      return {.name = "fail",
              .effect = "the transfer does not reach the camera and ends with an error",
              .endsAs = TransferStatus::kError};
    case Action::kStall:
      return {.name = "stall",
              .effect = "the camera refuses; a bulk pipe is halted until the halt is cleared",
              .endsAs = TransferStatus::kStalled};
    case Action::kTimeout:
      return {.name = "timeout",
              .effect =
                  "no answer: ends when it is cancelled, a control transfer also at the "
                  "host's timeout",
              .endsAs = TransferStatus::kTimedOut};
    case Action::kDelay:
      return {.name = "delay",
              .effect = "ends N to M milliseconds late; up to a minute",
              .amount = {kTimeRange, 10},
              .isLate = true};
    case Action::kDeaf:
      return {.name = "deaf",
              .effect = "as `delay`, and a cancellation does not end it sooner",
              .amount = {kTimeRange, 3000},
              .isLate = true,
              .resistsCancel = true};
    case Action::kRefuse:
      return {.name = "refuse",
              .effect =
                  "the system has no memory for it; the camera cannot be opened; its "
                  "interface is claimed by another program",
              .onOpening = true};
    case Action::kOverflow:
      return {.name = "overflow",
              .effect = "the camera has sent more than the read asked for",
              .onControl = false,
              .reportedAs = TransferStatus::kOverflow};
    case Action::kShort:
      return {.name = "short",
              .effect = "the last N bytes are missing",
              .amount = {kBytes, 2},
              .edit = cutShort};
    case Action::kEmpty:
      return {.name = "empty",
              .effect = "a read without data; its data goes to the following reads",
              .onControl = false,
              .endsAs = TransferStatus::kOk};
    case Action::kLong:
      return {.name = "long",
              .effect = "a read of N stray bytes; its data goes to the following reads",
              .amount = {kBytes, 2},
              .onControl = false,
              .endsAs = TransferStatus::kOk};
    case Action::kFlip:
      return {.name = "flip",
              .effect =
                  "all bits of byte N are inverted; N counts from 0, or from the end if it "
                  "is negative",
              .amount = {kPlace, 0},
              .edit = invertByte};
    case Action::kDuplicate:
      return {.name = "duplicate",
              .effect = "the data of the previous read once more",
              .onControl = false,
              .edit = repeatLast,
              .usesLastRead = true};
    case Action::kTear:
      return {.name = "tear",
              .effect = "the second half is that of the previous read",
              .onControl = false,
              .edit = tear,
              .usesLastRead = true};
    case Action::kUnplug:
      return {.name = "unplug", .effect = "the camera is gone for good", .isGone = true};
    case Action::kReplug:
      return {
          .name = "replug",
          .effect = "the camera is gone, and comes back at another address after N milliseconds",
          .amount = {kMilliseconds, 200},
          .isGone = true};
  }
  return {};
}

static_assert(factsOf(static_cast<Action>(kActions)).name.empty(), "kActions counts all actions");

}  // namespace

ActionFacts actionFacts(Action action) { return factsOf(action); }

}  // namespace orvik::fault
