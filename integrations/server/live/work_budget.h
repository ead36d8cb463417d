// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <chrono>

namespace orvik::server {

/// Limits the work of a thread to a part of a processor's time. What is too much is spread evenly.
class WorkBudget {
 public:
  using Clock = std::chrono::steady_clock;

  /// @param part of one processor
  explicit WorkBudget(double part) : part_(part) {}

  /// How long to wait before the next piece of work; 0 if it may begin.
  Clock::duration wait(Clock::time_point now) {
    const double passed = std::chrono::duration<double>(now - now_).count();
    now_ = now;
    left_ = std::min(kMostSaved, left_ + std::max(passed, 0.0) * part_);
    if (left_ >= 0) return Clock::duration::zero();
    return std::chrono::ceil<Clock::duration>(std::chrono::duration<double>(-left_ / part_));
  }
  /// So much time of a processor was used.
  void spend(std::chrono::duration<double> time) { left_ -= time.count(); }

 private:
  static constexpr double kMostSaved = 0.02;  // seconds

  double part_;
  double left_ = 0;
  Clock::time_point now_ = Clock::now();
};

}  // namespace orvik::server
