// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <chrono>

namespace orvik::ctl {

/// Notices that a video has stopped without an error, as when a cable fails.
class StallWatch {
 public:
  using Clock = std::chrono::steady_clock;
  using Seconds = std::chrono::duration<double>;

  /// @param interval expected time between two frames
  explicit StallWatch(Seconds interval, Clock::time_point now = Clock::now())
      : limit_(std::max<Seconds>(kShortest, 3 * interval)), last_(now) {}

  /// How long no frame may come.
  [[nodiscard]] Seconds limit() const { return limit_; }

  /// A frame has come.
  void frameCame(Clock::time_point now = Clock::now()) {
    last_ = now;
    isTold_ = false;
  }
  /// Since the last frame.
  [[nodiscard]] Seconds silence(Clock::time_point now = Clock::now()) const { return now - last_; }
  [[nodiscard]] bool isStalled(Clock::time_point now = Clock::now()) const {
    return silence(now) > limit_;
  }
  /// Whether to tell the user: once in each stall.
  bool isNews(Clock::time_point now = Clock::now()) {
    if (isTold_ || !isStalled(now)) return false;
    isTold_ = true;
    return true;
  }

 private:
  static constexpr Seconds kShortest{2};

  Seconds limit_;
  Clock::time_point last_;
  bool isTold_ = false;
};

}  // namespace orvik::ctl
