// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <mutex>

#include "camera/vendor_link.h"

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

  /// A line that does not exist is ignored, and so is a request that fails; a line that may be on
  /// after it is remembered.
  void switchOn(std::size_t line);
  void switchOff(std::size_t line);

  /// Switches off whatever may be on; nothing can be switched on before allow(). Takes at most one
  /// request for each such line.
  void letGo();
  void allow();

 private:
  bool send(VendorRequest request, std::size_t line);

  VendorLink& link_;
  std::mutex mutex_;  ///< held over a request, so that none overtakes letGo()
  std::array<bool, kCount> mayBeOn_{};
  bool allowed_ = false;
};

}  // namespace orvik
