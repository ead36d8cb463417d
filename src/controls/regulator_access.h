// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <mutex>
#include <utility>

namespace orvik {

class ImageRegulator;

/// The lock for changes of a camera's settings. A setter writes groups of registers that belong
/// together, and holds the lock for the whole group. The lock is recursive.
using SettingsLock = std::recursive_mutex;

/// Gives the threads of a capture access to the settings of their camera.
///
/// They only try the settings lock: when a setter is at work, their own change is left to the next
/// round. So a setter that stops the capture never waits for a thread that waits for the lock. A
/// thread that outlives its camera finds the access closed.
class RegulatorAccess {
 public:
  RegulatorAccess(std::shared_ptr<SettingsLock> lock, ImageRegulator& regulator)
      : lock_(std::move(lock)), regulator_(&regulator) {}

  /// Calls `use(regulator)` with the settings locked, unless a setter is at work or the camera
  /// object is gone. @return whether it was called.
  template <class Use>
  bool tryUse(Use use) {
    const std::unique_lock held(*lock_, std::try_to_lock);
    if (!held || regulator_ == nullptr) return false;
    use(*regulator_);
    return true;
  }

  /// Called when the camera is destroyed: waits for a call that is running, and prevents others.
  void close() {
    const std::lock_guard held(*lock_);
    regulator_ = nullptr;
  }

 private:
  const std::shared_ptr<SettingsLock> lock_;
  ImageRegulator* regulator_;
};

}  // namespace orvik
