// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "link/vendor_request.h"

namespace orvik {

/// The requests that leave a camera safe. A camera that misses one of them keeps moving the
/// telescope, cooling, streaming, or denying its flash's bus to the pixels, until somebody sends it
/// again. In the order in which they are sent where several are owed.
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

/// Which of the safe requests a camera is still owed. VendorLink keeps one of these, tells it of
/// every request, and sends what is due. Only an acknowledgement settles a request.
///
/// Callers that switch something back use VendorLink::sendSafe(), for example
///
///     link.sendSafe(SafeRequest::kBusToStream);  // the flash session is over
///
/// and need not remember a failure: the request stays due, and is sent again after the next request
/// that gets through, and when the camera is closed.
///
/// For one thread at a time.
class SafeRequests {
 public:
  static constexpr std::size_t kCount = 7;

  /// A request as it goes over the wire, without data.
  struct Words {
    VendorRequest request;
    std::uint16_t value;
  };
  static Words wordsOf(SafeRequest request);
  /// Which safe request this is, if it is one.
  static std::optional<SafeRequest> settledBy(VendorRequest request, std::uint16_t value);
  /// Which safe request a camera is owed from the moment at which this one is sent.
  static std::optional<SafeRequest> endangeredBy(VendorRequest request, std::uint16_t value);

  /// The contrary of `request` is about to be sent on purpose: it is owed in the end, not now.
  void endanger(SafeRequest request) { at(request).state = State::kOwed; }
  /// `request` is wanted now.
  void demand(SafeRequest request) { at(request).state = State::kDue; }
  /// Everything that is owed is wanted now.
  void demandAllOwed();
  /// Nothing is known of the camera: everything is wanted.
  /// @param hasCooler whether it knows the request for one
  void demandAll(bool hasCooler);
  /// The camera has acknowledged `request`.
  void settle(SafeRequest request) { at(request).state = State::kSettled; }

  [[nodiscard]] bool isSettled(SafeRequest request) const {
    return at(request).state == State::kSettled;
  }
  [[nodiscard]] bool isDue(SafeRequest request) const { return at(request).state == State::kDue; }

  /// The first request that is due, counted from `from` on and round to it again.
  [[nodiscard]] std::optional<SafeRequest> nextDue(SafeRequest from) const;
  static SafeRequest after(SafeRequest request);

  // Whether a request has been sent since the last call of forgetTries().
  void noteTry(SafeRequest request) { at(request).tried = true; }
  [[nodiscard]] bool wasTried(SafeRequest request) const { return at(request).tried; }
  void forgetTries();

 private:
  enum class State : std::uint8_t {
    kSettled,
    kOwed,  ///< when the camera is let go of
    kDue,   ///< as soon as possible
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
