// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <mutex>

namespace orvik {

class CCameraBase;

/// The one lock for changes of settings, and the capture worker's way back to the camera object.
///
/// A setter writes groups of registers that belong together; it holds the lock for the whole group.
/// The worker only tries the lock: when the caller is at it, the worker's own change can wait for
/// the next round, and a setter that stops capture can never wait for a worker that waits for it.
/// A worker that outlives its camera finds the gate closed.
class CameraGate {
 public:
  explicit CameraGate(CCameraBase& camera) : camera_(&camera) {}

  /// For setters; the same thread may lock again.
  [[nodiscard]] std::unique_lock<std::recursive_mutex> lock() { return std::unique_lock(mutex_); }

  /// For the worker: calls `use(camera)` unless a setter is at work or the camera is gone.
  template <class Use>
  bool tryUse(Use use) {
    const std::unique_lock lock(mutex_, std::try_to_lock);
    if (!lock || camera_ == nullptr) return false;
    use(*camera_);
    return true;
  }

  /// For the camera's end: waits for a call that is under way, and lets none in afterwards.
  void close() {
    const auto held = lock();
    camera_ = nullptr;
  }

 private:
  std::recursive_mutex mutex_;
  CCameraBase* camera_;
};

}  // namespace orvik
