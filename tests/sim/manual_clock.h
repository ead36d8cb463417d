// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <chrono>

#include "seam/clock.h"
#include "support/eventually.h"

namespace orvik::test {

/// A clock that the test sets.
class ManualClock final : public seam::Clock {
 public:
  [[nodiscard]] Duration now() const override { return Duration{nanoseconds_.load()}; }

  bool waitUntil(std::unique_lock<std::mutex>& lock, std::condition_variable& condition,
                 Duration deadline, const std::function<bool()>& ready) override {
    while (!ready() && now() < deadline) {
      awaited_ = deadline.count();
      condition.wait_for(lock, std::chrono::milliseconds(1));
    }
    return ready();
  }
  void sleepFor(Duration duration) override { advance(duration); }

  void advance(Duration duration) { nanoseconds_ += duration.count(); }
  /// Waits until the thread that uses this clock has done what was due and waits for a later time.
  [[nodiscard]] bool settle() const {
    return eventually([this] { return awaited_ > nanoseconds_; });
  }

 private:
  std::atomic<Duration::rep> nanoseconds_ = 1000000000;
  std::atomic<Duration::rep> awaited_ = 0;  ///< for which the thread has last waited
};

}  // namespace orvik::test
