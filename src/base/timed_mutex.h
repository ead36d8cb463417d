// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace orvik {

/// A mutex with timeouts, for std::unique_lock and std::lock_guard. Used instead of
/// std::timed_mutex, whose timed locking the thread sanitizer does not see.
class TimedMutex {
 public:
  TimedMutex() = default;
  TimedMutex(const TimedMutex&) = delete;
  TimedMutex& operator=(const TimedMutex&) = delete;

  // The names are those that the standard's locks call.
  void lock() {
    std::unique_lock held(mutex_);
    freed_.wait(held, [this] { return !taken_; });
    taken_ = true;
  }

  bool try_lock() {
    const std::lock_guard held(mutex_);
    const bool wasFree = !taken_;
    taken_ = true;
    return wasFree;
  }

  bool try_lock_for(std::chrono::milliseconds timeout) {
    return try_lock_until(std::chrono::steady_clock::now() + timeout);
  }

  bool try_lock_until(std::chrono::steady_clock::time_point deadline) {
    std::unique_lock held(mutex_);
    if (!freed_.wait_until(held, deadline, [this] { return !taken_; })) return false;
    taken_ = true;
    return true;
  }

  void unlock() {
    const std::lock_guard held(mutex_);
    taken_ = false;
    freed_.notify_one();
  }

 private:
  std::mutex mutex_;
  std::condition_variable freed_;
  bool taken_ = false;
};

}  // namespace orvik
