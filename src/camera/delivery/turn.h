// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>

namespace orvik {

/// One thread at a time, and those who wait have a limit.
class Turn {
 public:
  /// Holds the turn, if it came in time.
  class Holder {
   public:
    /// @param limit longest wait; none waits as long as it takes
    Holder(Turn& turn, std::optional<std::chrono::milliseconds> limit)
        : turn_(turn), holds_(turn.take(limit)) {}
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
  bool take(std::optional<std::chrono::milliseconds> limit) {
    std::unique_lock lock(mutex_);
    const auto isFree = [this] { return !taken_; };
    if (!limit) {
      freed_.wait(lock, isFree);
    } else if (!freed_.wait_for(lock, *limit, isFree)) {
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
