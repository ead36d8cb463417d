// SPDX-License-Identifier: MIT
#pragma once

#include <condition_variable>
#include <mutex>
#include <utility>

namespace orvik {

/// Counts the threads that work on the memories of a camera: its flash, its boot memory, the RAM of
/// its bridge. An interrupted write can leave the camera unusable, so capture is refused while any
/// thread holds a permit, and closing waits until none does. Any thread.
///
/// Several threads may hold permits at a time; those that use the flash take its lock in turn.
class MemoryWork {
 public:
  /// Permission to work while this object exists. An empty permit is a refusal.
  class Permit {
   public:
    Permit() = default;
    Permit(Permit&& other) noexcept : work_(std::exchange(other.work_, nullptr)) {}
    Permit& operator=(Permit&&) = delete;
    ~Permit() {
      if (work_ != nullptr) work_->end();
    }

    explicit operator bool() const { return work_ != nullptr; }

   private:
    friend MemoryWork;
    explicit Permit(MemoryWork* work) : work_(work) {}

    MemoryWork* work_ = nullptr;
  };

  /// @return an empty permit once the camera is being closed.
  [[nodiscard]] Permit begin() {
    const std::lock_guard lock(mutex_);
    if (closing_) return {};
    ++permits_;
    return Permit(this);
  }

  [[nodiscard]] bool isGoingOn() const {
    const std::lock_guard lock(mutex_);
    return permits_ > 0;
  }

  /// Refuses further permits and waits until none is held. The operations that hold permits end by
  /// their own timeouts.
  void close() {
    std::unique_lock lock(mutex_);
    closing_ = true;
    ended_.wait(lock, [this] { return permits_ == 0; });
  }
  /// Allows permits again, when the camera has been opened.
  void open() {
    const std::lock_guard lock(mutex_);
    closing_ = false;
  }

 private:
  void end() {
    {
      const std::lock_guard lock(mutex_);
      --permits_;
    }
    ended_.notify_all();
  }

  mutable std::mutex mutex_;
  std::condition_variable ended_;
  int permits_ = 0;
  bool closing_ = false;
};

}  // namespace orvik
