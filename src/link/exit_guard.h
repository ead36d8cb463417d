// SPDX-License-Identifier: MIT
#pragma once

namespace orvik {

class VendorLink;

/// While it lives, the end of the program leaves the camera behind `link` safe: it is sent what it
/// is owed, while threads, cameras and the USB host still live. That takes 3 s and one request at
/// most, for all cameras together, whatever other threads are inside of. A process that was forked
/// off does not own the cameras and leaves them alone; one that is killed cannot do anything, which
/// is why opening a camera makes it safe as well.
class ExitGuard {
 public:
  /// @param link must outlive this object
  explicit ExitGuard(VendorLink& link);
  ~ExitGuard();
  ExitGuard(const ExitGuard&) = delete;
  ExitGuard& operator=(const ExitGuard&) = delete;

  /// To be called once the USB host is there, which then lives until the guards have done their
  /// work: handlers run in the reverse order of their registration.
  static void arm();

 private:
  VendorLink& link_;
};

}  // namespace orvik
