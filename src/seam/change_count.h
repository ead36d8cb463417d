// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <vector>

namespace orvik::seam {

/// Counts how often devices have been plugged or unplugged on a bus, and wakes threads that wait
/// for a change. Any thread.
class ChangeCount {
 public:
  using Clock = std::chrono::steady_clock;

  /// @return the count, which never decreases.
  [[nodiscard]] std::uint64_t now() const {
    const std::lock_guard lock(mutex_);
    return countAt(Clock::now());
  }

  void add() {
    const std::lock_guard lock(mutex_);
    ++count_;
    changed_.notify_all();
  }

  /// Announces a change that will happen at `time`, such as a device that comes back.
  void addAt(Clock::time_point time) {
    const std::lock_guard lock(mutex_);
    announced_.push_back(time);
    changed_.notify_all();
  }

  /// Waits until the count differs from `seen`, at most `timeout`.
  /// @return whether it differs.
  bool waitForOther(std::uint64_t seen, std::chrono::milliseconds timeout) {
    std::unique_lock lock(mutex_);
    const auto deadline = Clock::now() + timeout;
    for (;;) {
      const auto now = Clock::now();
      if (countAt(now) != seen) return true;
      if (now >= deadline) return false;
      auto end = deadline;
      for (const auto time : announced_) {
        if (time > now) end = std::min(end, time);
      }
      changed_.wait_until(lock, end);
    }
  }

 private:
  [[nodiscard]] std::uint64_t countAt(Clock::time_point time) const {
    const auto past = std::ranges::count_if(announced_, [time](auto each) { return each <= time; });
    return count_ + static_cast<std::uint64_t>(past);
  }

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::uint64_t count_ = 0;
  std::vector<Clock::time_point> announced_;
};

}  // namespace orvik::seam
