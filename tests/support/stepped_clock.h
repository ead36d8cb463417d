// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <list>
#include <mutex>
#include <thread>

#include "seam/clock.h"

namespace orvik::test {

/// A clock that a test moves from deadline to deadline of the threads that sleep on it. The threads
/// pass through hours in a moment and in the same order as in real time. As with any other clock, a
/// thread that is to wake before its deadline has to be notified: if its condition holds and no
/// notification arrives, the test fails.
class SteppedClock final : public seam::Clock {
 public:
  [[nodiscard]] Duration now() const override {
    const std::lock_guard guard(mutex_);
    return now_;
  }

  bool waitUntil(std::unique_lock<std::mutex>& lock, std::condition_variable& condition,
                 Duration deadline, const std::function<bool()>& ready) override {
    constexpr auto kLook = std::chrono::seconds(4);  // of real time
    const auto place = fallAsleep({deadline, lock.mutex(), &condition});
    const auto isOver = [&] { return ready() || now() >= deadline; };
    while (!isOver()) {
      if (condition.wait_for(lock, kLook) == std::cv_status::no_timeout || !isOver()) continue;
      // The thread that made the condition true may not have sent its notification yet.
      if (condition.wait_for(lock, kLook) == std::cv_status::no_timeout) continue;
      ADD_FAILURE() << "what a thread slept for came, and nobody woke it";
    }
    const std::lock_guard guard(mutex_);
    sleepers_.erase(place);
    return ready();
  }

  /// A sleep that cannot be interrupted moves the clock.
  void sleepFor(Duration duration) override { moveTo(now() + duration); }

  /// Lets time pass.
  /// @param sleepers how many threads sleep on this clock
  /// @return false when they did not all go to sleep within twenty seconds of real time.
  bool run(Duration duration, std::size_t sleepers = 1) {
    const Duration end = now() + duration;
    for (;;) {
      if (!waitUntilAsleep(sleepers)) return false;
      const Duration next = nextDeadline();
      moveTo(std::min(next, end));
      if (next > end) return true;
    }
  }

 private:
  struct Sleeper {
    Duration deadline;
    std::mutex* lock;
    std::condition_variable* wake;
    bool woken = false;
  };

  std::list<Sleeper>::iterator fallAsleep(const Sleeper& sleeper) {
    const std::lock_guard guard(mutex_);
    changed_.notify_all();
    return sleepers_.insert(sleepers_.end(), sleeper);
  }

  void moveTo(Duration time) {
    std::unique_lock guard(mutex_);
    now_ = std::max(now_, time);
    changed_.notify_all();
    while (!wakeDue()) {
      guard.unlock();
      std::this_thread::yield();
      guard.lock();
    }
  }

  /// @return false if the lock of a sleeper was held: the sleeper may be between reading the clock
  ///         and going to sleep, and would then miss the notification.
  bool wakeDue() {
    return std::ranges::all_of(sleepers_, [this](Sleeper& sleeper) {
      if (sleeper.woken || sleeper.deadline > now_) return true;
      sleeper.woken = sleeper.lock->try_lock();
      if (!sleeper.woken) return false;
      sleeper.wake->notify_all();
      sleeper.lock->unlock();
      return true;
    });
  }

  Duration nextDeadline() {
    const std::lock_guard guard(mutex_);
    Duration next = Duration::max();
    for (const Sleeper& sleeper : sleepers_) {
      if (sleeper.deadline > now_) next = std::min(next, sleeper.deadline);
    }
    return next;
  }

  bool waitUntilAsleep(std::size_t sleepers) {
    std::unique_lock guard(mutex_);
    return changed_.wait_for(guard, std::chrono::seconds(20), [&] {
      const auto sleeps = [this](const Sleeper& sleeper) { return sleeper.deadline > now_; };
      return static_cast<std::size_t>(std::ranges::count_if(sleepers_, sleeps)) == sleepers;
    });
  }

  mutable std::mutex mutex_;
  std::condition_variable changed_;  ///< a thread has gone to sleep, or time has moved
  Duration now_ = std::chrono::seconds(1);
  std::list<Sleeper> sleepers_;
};

}  // namespace orvik::test
