// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <mutex>
#include <utility>

namespace orvik {

class ImageRegulator;

/// The lock for changes of a camera's settings. A setter writes groups of registers that belong
/// together, and holds the lock for the whole group. The same thread may lock it again.
using SettingsLock = std::recursive_mutex;

/// How the threads of a capture reach the settings of their camera.
///
/// They only try the settings lock: when a setter is at work, their own change can wait for the
/// next round, and a setter that stops the capture never waits for a thread that waits for the
/// lock. A thread that outlives its camera finds the access closed.
class RegulatorAccess {
 public:
  RegulatorAccess(std::shared_ptr<SettingsLock> lock, ImageRegulator& regulator)
      : lock_(std::move(lock)), regulator_(&regulator) {}

  /// Calls `use(regulator)` with the settings locked, unless a setter is at work or the camera is
  /// gone. @return whether it was called.
  template <class Use>
  bool tryUse(Use use) {
    const std::unique_lock held(*lock_, std::try_to_lock);
    if (!held || regulator_ == nullptr) return false;
    use(*regulator_);
    return true;
  }

  /// For the camera's end: waits for a call that is under way, and lets none in afterwards.
  void close() {
    const std::lock_guard held(*lock_);
    regulator_ = nullptr;
  }

 private:
  const std::shared_ptr<SettingsLock> lock_;
  ImageRegulator* regulator_;
};

}  // namespace orvik
