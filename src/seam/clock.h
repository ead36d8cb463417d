// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace orvik::seam {

/// Time as the library and the virtual cameras see it. Injected, so that a test need not live
/// through a long exposure. Time-outs of USB transfers are not measured with it: they belong to the
/// host.
class Clock {
 public:
  using Duration = std::chrono::nanoseconds;

  Clock() = default;
  Clock(const Clock&) = delete;
  Clock& operator=(const Clock&) = delete;
  virtual ~Clock() = default;

  /// Time since some fixed moment; never goes back.
  [[nodiscard]] virtual Duration now() const = 0;

  /// Waits on `condition` until `ready()` holds or `deadline` has come on this clock.
  /// @param lock held by the caller; `ready` is only called while it is held
  /// @return what `ready()` said last.
  virtual bool waitUntil(std::unique_lock<std::mutex>& lock, std::condition_variable& condition,
                         Duration deadline, const std::function<bool()>& ready) = 0;

  /// Sleeps without a way to be woken.
  virtual void sleepFor(Duration duration) = 0;
};

/// The machine's steady clock.
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
