// SPDX-License-Identifier: MIT
#pragma once

#include <condition_variable>
#include <mutex>
#include <utility>

namespace orvik {

/// Who is at work on a camera's memories: its flash, its boot memory, the RAM of its bridge. Half
/// of what is written there is worth nothing; so capture does not start meanwhile, and closing
/// waits for the end. Any thread.
///
/// Several threads may have permits at a time; the flash's lock puts those in order that use the
/// flash.
class MemoryWork {
 public:
  /// Permission to work, for the life of this object; none where it is empty.
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

  /// Lets no more work begin, and waits for the end of what has begun: as long as that takes at
  /// most, which every kind of it says.
  void close() {
    std::unique_lock lock(mutex_);
    closing_ = true;
    ended_.wait(lock, [this] { return permits_ == 0; });
  }
  /// Lets work begin again, once the camera is open.
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
