// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>

#include "seam/clock.h"

namespace orvik::test {

/// A clock that the test sets.
class ManualClock final : public seam::Clock {
 public:
  [[nodiscard]] Duration now() const override { return Duration{nanoseconds_.load()}; }

  bool waitUntil(std::unique_lock<std::mutex>& lock, std::condition_variable& condition,
                 Duration deadline, const std::function<bool()>& ready) override {
    while (!ready() && now() < deadline) condition.wait_for(lock, std::chrono::milliseconds(1));
    return ready();
  }
  void sleepFor(Duration duration) override { advance(duration); }

  void advance(Duration duration) { nanoseconds_ += duration.count(); }

 private:
  std::atomic<Duration::rep> nanoseconds_ = 1000000000;
};

}  // namespace orvik::test
