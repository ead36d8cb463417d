// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "link/vendor_request.h"

namespace orvik {

/// The requests that leave a camera safe. A camera that misses one of them goes on moving the
/// telescope, cooling or streaming, or keeps the bus with the flash, until the request is sent
/// again. If several are outstanding, they are sent in this order.
enum class SafeRequest : std::uint8_t {
  kGuideOff0,
  kGuideOff1,
  kGuideOff2,
  kGuideOff3,
  kCoolerOff,
  kStopStreaming,
  kBusToStream,
};

/// Switches off one guide line, 0 to 3.
constexpr SafeRequest guideOff(std::size_t line) { return static_cast<SafeRequest>(line); }

/// Records which of the safe requests are outstanding. VendorLink has one of these objects, reports
/// every request to it, and sends the requests that are due. Only an acknowledgement settles a
/// request.
///
/// Callers that switch something back use VendorLink::sendSafe(), for example
///
///     link.sendSafe(SafeRequest::kBusToStream);  // the flash session is over
///
/// and need not handle a failure: the request stays due, and is sent again after the next request
/// that succeeds, and when the camera is closed.
///
/// For one thread at a time.
class SafeRequests {
 public:
  static constexpr std::size_t kCount = 7;

  /// A request as sent to the camera, without data.
  struct Words {
    VendorRequest request;
    std::uint16_t value;
  };
  static Words wordsOf(SafeRequest request);
  /// The safe request that this one is, if any.
  static std::optional<SafeRequest> settledBy(VendorRequest request, std::uint16_t value);
  /// The safe request that becomes outstanding when this one is sent, if any.
  static std::optional<SafeRequest> endangeredBy(VendorRequest request, std::uint16_t value);

  /// The opposite of `request` is about to be sent on purpose: `request` is needed in the end, not
  /// now.
  void endanger(SafeRequest request) { at(request).state = State::kOwed; }
  /// `request` is due now.
  void demand(SafeRequest request) { at(request).state = State::kDue; }
  /// All outstanding requests are due now.
  void demandAllOwed();
  /// Nothing is known about the camera: all requests are due.
  /// @param hasCooler whether it supports the request for the cooler
  void demandAll(bool hasCooler);
  /// The camera has acknowledged `request`.
  void settle(SafeRequest request) { at(request).state = State::kSettled; }

  [[nodiscard]] bool isSettled(SafeRequest request) const {
    return at(request).state == State::kSettled;
  }
  [[nodiscard]] bool isDue(SafeRequest request) const { return at(request).state == State::kDue; }

  /// The first request that is due, starting at `from` and wrapping around.
  [[nodiscard]] std::optional<SafeRequest> nextDue(SafeRequest from) const;
  static SafeRequest after(SafeRequest request);

  // Whether a request has been sent since the last call of forgetTries().
  void noteTry(SafeRequest request) { at(request).tried = true; }
  [[nodiscard]] bool wasTried(SafeRequest request) const { return at(request).tried; }
  void forgetTries();

 private:
  enum class State : std::uint8_t {
    kSettled,
    kOwed,  ///< to be sent when the camera is closed
    kDue,   ///< to be sent as soon as possible
  };
  struct Entry {
    State state = State::kSettled;
    bool tried = false;
  };

  Entry& at(SafeRequest request) { return entries_.at(static_cast<std::size_t>(request)); }
  [[nodiscard]] const Entry& at(SafeRequest request) const {
    return entries_.at(static_cast<std::size_t>(request));
  }

  std::array<Entry, kCount> entries_{};
};

}  // namespace orvik
