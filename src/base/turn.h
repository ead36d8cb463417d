// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>

namespace orvik {

/// A mutex with a timeout. Used instead of std::timed_mutex, whose locking the thread sanitizer
/// does not see.
class Turn {
 public:
  /// Holds the mutex if it became free in time.
  class Holder {
   public:
    /// @param timeout longest wait; without a value there is no limit
    Holder(Turn& turn, std::optional<std::chrono::milliseconds> timeout)
        : turn_(turn), holds_(turn.take(timeout)) {}
    ~Holder() {
      if (holds_) turn_.giveBack();
    }
    Holder(const Holder&) = delete;
    Holder& operator=(const Holder&) = delete;
    explicit operator bool() const { return holds_; }

   private:
    Turn& turn_;
    bool holds_;
  };

 private:
  bool take(std::optional<std::chrono::milliseconds> timeout) {
    std::unique_lock lock(mutex_);
    const auto isFree = [this] { return !taken_; };
    if (!timeout) {
      freed_.wait(lock, isFree);
    } else if (!freed_.wait_for(lock, *timeout, isFree)) {
      return false;
    }
    taken_ = true;
    return true;
  }

  void giveBack() {
    const std::lock_guard lock(mutex_);
    taken_ = false;
    freed_.notify_one();
  }

  std::mutex mutex_;
  std::condition_variable freed_;
  bool taken_ = false;
};

}  // namespace orvik
