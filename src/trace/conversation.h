// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "seam/usb_host.h"

namespace orvik::trace {

/// The outcome of a transfer.
struct Outcome {
  seam::TransferStatus status = seam::TransferStatus::kOk;
  bool refused = false;  ///< it could not be submitted; the status says why

  friend bool operator==(const Outcome&, const Outcome&) = default;
};

/// Whether a request is a standard USB request.
constexpr bool isStandard(const seam::SetupPacket& setup) {
  return (setup.requestType & 0x60U) == 0;
}

struct ControlEvent {
  std::size_t line = 0;  ///< of the file
  seam::SetupPacket setup;
  std::uint16_t length = 0;
  Outcome outcome;
  std::vector<std::uint8_t> data;  ///< received from the device, or sent to it

  [[nodiscard]] bool isIn() const { return (setup.requestType & 0x80U) != 0; }
};

struct BulkEvent {
  std::size_t line = 0;
  std::uint8_t endpoint = 0;
  std::size_t length = 0;  ///< requested
  Outcome outcome;
  std::size_t bytes = 0;  ///< received
  std::uint64_t hash = 0;
  std::vector<std::uint8_t> head;  ///< the first bytes, or all
  std::vector<std::uint8_t> tail;  ///< the last bytes, if `head` is incomplete
};

/// The events from the opening of a device to its closing.
struct Opening {
  seam::DeviceLocation location;
  bool opened = false;
  seam::Speed speed = seam::Speed::kUnknown;
  std::optional<bool> claimed;  ///< empty if it was not tried
  std::vector<ControlEvent> controls;
  std::vector<BulkEvent> bulks;

  /// Whether only descriptors were read.
  [[nodiscard]] bool isLook() const {
    return opened && !claimed && bulks.empty() &&
           std::ranges::all_of(controls, [](const auto& event) { return isStandard(event.setup); });
  }
};

/// A recorded conversation with USB devices; the format is in docs/recordings.md.
struct Conversation {
  std::vector<seam::DeviceInfo> devices;
  std::vector<Opening> openings;
};

/// Reads a recording. Accepts any bytes; of a truncated recording, the complete lines are used.
/// @return "", or one sentence that names the line and the error.
std::string readConversation(std::string_view text, Conversation& conversation);

/// FNV-1a, 64 bits: to compare data, not for security.
constexpr std::uint64_t hashOf(std::span<const std::uint8_t> data) {
  std::uint64_t hash = 0xCBF29CE484222325U;
  for (const std::uint8_t byte : data) hash = (hash ^ byte) * 0x100000001B3U;
  return hash;
}

}  // namespace orvik::trace
