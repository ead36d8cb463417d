// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace orvik {

/// Who is at it: a lock that can be held through a long wait, and waited for with a limit. Made of
/// a mutex and a condition, both of which the thread sanitizer understands; std::timed_mutex it
/// does not.
class Turn {
 public:
  void lock() {
    std::unique_lock lock(mutex_);
    given_.wait(lock, [this] { return !taken_; });
    taken_ = true;
  }
  bool try_lock() { return try_lock_for(std::chrono::milliseconds(0)); }
  bool try_lock_for(std::chrono::milliseconds limit) {
    std::unique_lock lock(mutex_);
    if (!given_.wait_for(lock, limit, [this] { return !taken_; })) return false;
    taken_ = true;
    return true;
  }
  void unlock() {
    {
      const std::lock_guard lock(mutex_);
      taken_ = false;
    }
    given_.notify_one();
  }

 private:
  std::mutex mutex_;
  std::condition_variable given_;
  bool taken_ = false;
};

}  // namespace orvik
