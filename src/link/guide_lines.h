// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <condition_variable>
#include <cstddef>
#include <mutex>

#include "link/vendor_link.h"
#include "seam/clock.h"

namespace orvik {

/// The four lines of a camera's guide port. A line that is on moves the telescope until it is
/// switched off; so a request to switch one off is a safe request, which the link remembers until
/// the camera has taken it. Any thread.
class GuideLines {
 public:
  static constexpr std::size_t kCount = 4;

  explicit GuideLines(VendorLink& link) : link_(link) {}

  /// @return whether the camera took the request; false for a line that does not exist.
  bool switchOn(std::size_t line);
  bool switchOff(std::size_t line);

  /// Switches a line on for so long, and keeps the calling thread until it is off again. Whoever
  /// switches the line off meanwhile ends the pulse.
  /// @param clock that measures the length
  /// @return whether the camera took both requests.
  bool pulse(std::size_t line, seam::Clock& clock, seam::Clock::Duration length);

  /// Switches off whatever may be on and ends all pulses. To be called after
  /// VendorLink::beginClosing(), so that no line goes on again.
  void letGo();

 private:
  void endPulse(std::size_t line);

  VendorLink& link_;
  std::mutex mutex_;
  std::condition_variable ended_;
  std::array<bool, kCount> pulsing_{};  ///< a pulse that nobody has ended yet
};

}  // namespace orvik
