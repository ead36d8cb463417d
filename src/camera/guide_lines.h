// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <condition_variable>
#include <cstddef>
#include <mutex>

#include "camera/vendor_link.h"
#include "seam/clock.h"

namespace orvik {

/// The four lines of a camera's guide port. A line that is on moves the telescope until it is
/// switched off; so none outlives its camera: closing the camera lets go of all of them, and so
/// does the end of the program or the unloading of the library, as long as the program ends by
/// itself. Any thread.
class GuideLines {
 public:
  static constexpr std::size_t kCount = 4;

  explicit GuideLines(VendorLink& link);
  ~GuideLines();
  GuideLines(const GuideLines&) = delete;
  GuideLines& operator=(const GuideLines&) = delete;

  /// A line that may be on after a request that failed is remembered.
  /// @return whether the camera took the request; false for a line that does not exist.
  bool switchOn(std::size_t line);
  bool switchOff(std::size_t line);

  /// Switches a line on for so long, and keeps the calling thread until it is off again. Whoever
  /// switches the line off meanwhile ends the pulse.
  /// @param clock that measures the length
  /// @return whether the camera took both requests.
  bool pulse(std::size_t line, seam::Clock& clock, seam::Clock::Duration length);

  /// Switches off whatever may be on; nothing can be switched on before allow(). Takes at most one
  /// request for each such line.
  void letGo();
  void allow();

 private:
  bool send(VendorRequest request, std::size_t line);

  VendorLink& link_;
  std::mutex mutex_;  ///< held over a request, so that none overtakes letGo()
  std::condition_variable switchedOff_;
  std::array<bool, kCount> mayBeOn_{};
  bool allowed_ = false;
};

}  // namespace orvik
