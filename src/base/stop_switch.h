// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <utility>

#include "seam/clock.h"

namespace orvik {

/// The stop switch of one worker thread. The worker checks it, and sleeps until it is thrown or a
/// time has passed.
class StopSwitch {
 public:
  explicit StopSwitch(std::shared_ptr<seam::Clock> clock) : clock_(std::move(clock)) {}

  [[nodiscard]] bool running() const { return !stopped_; }

  /// Ends the work and wakes sleepFor(). Any thread.
  void stop() {
    {
      const std::lock_guard lock(mutex_);
      stopped_ = true;
    }
    wake_.notify_all();
  }

  /// Sleeps until the time has passed or stop() is called.
  /// @return whether the work goes on.
  bool sleepFor(seam::Clock::Duration duration) {
    std::unique_lock lock(mutex_);
    clock_->waitUntil(lock, wake_, clock_->now() + duration, [this] { return stopped_.load(); });
    return !stopped_;
  }

  [[nodiscard]] seam::Clock::Duration now() const { return clock_->now(); }

 private:
  std::shared_ptr<seam::Clock> clock_;
  std::mutex mutex_;
  std::condition_variable wake_;
  std::atomic<bool> stopped_{false};
};

}  // namespace orvik
