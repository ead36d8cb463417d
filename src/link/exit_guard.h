// SPDX-License-Identifier: MIT
#pragma once

namespace orvik {

class VendorLink;

/// While it exists, the exit of the program leaves the camera behind `link` safe: outstanding safe
/// requests are sent while threads, cameras and the USB host still exist. That takes at most 3 s
/// plus one request, for all cameras together, whatever other threads are doing. A forked process
/// does not own the cameras and leaves them alone. A process that is killed can do nothing, which
/// is why opening a camera makes it safe as well.
class ExitGuard {
 public:
  /// @param link must outlive this object
  explicit ExitGuard(VendorLink& link);
  ~ExitGuard();
  ExitGuard(const ExitGuard&) = delete;
  ExitGuard& operator=(const ExitGuard&) = delete;

  /// Must be called after the USB host has been made. Exit handlers run in the reverse order of
  /// their registration, so the host then exists until the guards have done their work.
  static void arm();

 private:
  VendorLink& link_;
};

}  // namespace orvik
