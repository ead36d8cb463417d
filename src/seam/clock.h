// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace orvik::seam {

/// The time of the library and the virtual cameras. Injected, so that a test need not wait for a
/// long exposure. Timeouts of USB transfers are not measured with it: they belong to the host.
class Clock {
 public:
  using Duration = std::chrono::nanoseconds;

  Clock() = default;
  Clock(const Clock&) = delete;
  Clock& operator=(const Clock&) = delete;
  virtual ~Clock() = default;

  /// Time since a fixed moment; monotonic.
  [[nodiscard]] virtual Duration now() const = 0;

  /// Waits on `condition` until `ready()` returns true or this clock reaches `deadline`.
  /// @param lock held by the caller; `ready` is only called while it is held
  /// @return the last result of `ready()`.
  virtual bool waitUntil(std::unique_lock<std::mutex>& lock, std::condition_variable& condition,
                         Duration deadline, const std::function<bool()>& ready) = 0;

  /// Sleeps; cannot be woken.
  virtual void sleepFor(Duration duration) = 0;
};

/// The steady clock of the system.
class SteadyClock final : public Clock {
 public:
  [[nodiscard]] Duration now() const override {
    return std::chrono::steady_clock::now().time_since_epoch();
  }
  bool waitUntil(std::unique_lock<std::mutex>& lock, std::condition_variable& condition,
                 Duration deadline, const std::function<bool()>& ready) override {
    return condition.wait_until(lock, std::chrono::steady_clock::time_point(deadline), ready);
  }
  void sleepFor(Duration duration) override { std::this_thread::sleep_for(duration); }
};

}  // namespace orvik::seam
