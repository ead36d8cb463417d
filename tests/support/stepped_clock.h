// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <set>
#include <thread>

#include "seam/clock.h"

namespace orvik::test {

/// A clock that a test moves from deadline to deadline of the threads that sleep on it, so that
/// they live through hours in a moment, in the order in which they would.
class SteppedClock final : public seam::Clock {
 public:
  [[nodiscard]] Duration now() const override {
    const std::lock_guard guard(mutex_);
    return now_;
  }

  bool waitUntil(std::unique_lock<std::mutex>& lock, std::condition_variable& condition,
                 Duration deadline, const std::function<bool()>& ready) override {
    const auto place = fallAsleep(deadline);
    while (!ready() && now() < *place) condition.wait_for(lock, std::chrono::microseconds(50));
    const std::lock_guard guard(mutex_);
    deadlines_.erase(place);
    return ready();
  }

  /// Who sleeps without a way to be woken moves the clock.
  void sleepFor(Duration duration) override {
    const std::lock_guard guard(mutex_);
    now_ += duration;
  }

  /// Lets time pass.
  /// @param sleepers how many threads live by this clock
  /// @return false when they did not all go to sleep within twenty seconds of real time.
  bool run(Duration duration, std::size_t sleepers = 1) {
    const Duration end = now() + duration;
    for (;;) {
      if (!waitUntilAsleep(sleepers)) return false;
      const std::lock_guard guard(mutex_);
      const Duration next = deadlines_.empty() ? end : *deadlines_.begin();
      now_ = std::min(next, end);
      if (next > end) return true;
      if (deadlines_.empty()) return true;
    }
  }

 private:
  std::multiset<Duration>::iterator fallAsleep(Duration deadline) {
    const std::lock_guard guard(mutex_);
    return deadlines_.insert(deadline);
  }

  bool waitUntilAsleep(std::size_t sleepers) {
    const auto giveUp = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    for (;;) {
      {
        const std::lock_guard guard(mutex_);
        const auto due = deadlines_.upper_bound(now_);
        if (static_cast<std::size_t>(std::distance(due, deadlines_.end())) == sleepers) return true;
      }
      if (std::chrono::steady_clock::now() > giveUp) return false;
      std::this_thread::sleep_for(std::chrono::microseconds(20));
    }
  }

  mutable std::mutex mutex_;
  Duration now_ = std::chrono::seconds(1);
  std::multiset<Duration> deadlines_;
};

}  // namespace orvik::test
