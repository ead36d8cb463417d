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
/// switched off; so switching off is a safe request, which the link repeats until the camera has
/// acknowledged it. Any thread.
class GuideLines {
 public:
  static constexpr std::size_t kCount = 4;

  explicit GuideLines(VendorLink& link) : link_(link) {}

  /// @return whether the camera acknowledged the request; false for a line that does not exist.
  bool switchOn(std::size_t line);
  bool switchOff(std::size_t line);

  /// Switches a line on for the given time, and returns when it is off again. Switching the line
  /// off from another thread ends the pulse.
  /// @param clock that measures the length
  /// @return whether the camera acknowledged both requests.
  bool pulse(std::size_t line, seam::Clock& clock, seam::Clock::Duration length);

  /// Switches off all lines that may be on, and ends all pulses. Must be called after
  /// VendorLink::beginClosing(), so that no line is switched on again.
  void letGo();

 private:
  void endPulse(std::size_t line);

  VendorLink& link_;
  std::mutex mutex_;
  std::condition_variable ended_;
  std::array<bool, kCount> pulsing_{};  ///< a pulse that has not been ended yet
};

}  // namespace orvik
