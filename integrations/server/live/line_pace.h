// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>

namespace orvik::server {

/// Decides for one viewer when a picture may be sent, and how good it may be, from the time that
/// pictures take until they are shown.
///
/// At most two pictures are on their way, so that none is old when it arrives. When they are on
/// their way for so long that the viewer would get less than about ten in a second, or less than
/// the camera takes, the pictures become smaller. Where this does not help, because it is the
/// distance that takes the time, they become good again.
class LinePace {
 public:
  using Clock = std::chrono::steady_clock;

  /// How good pictures are.
  struct Grade {
    int quality = 85;  ///< of the JPEG
    int coarser = 1;   ///< factor by which they are smaller than wanted
    friend bool operator==(const Grade&, const Grade&) = default;
  };

  /// Whether another picture may be sent now.
  [[nodiscard]] bool mayTake(Clock::time_point now) const;
  [[nodiscard]] Grade grade() const;
  /// A picture is sent.
  /// @param interval time from one picture of the camera to the next
  void sent(std::uint32_t number, Clock::time_point now, Clock::duration interval);
  /// This message was shown; older pictures have been, too, or were left out.
  void seen(std::uint32_t number, Clock::time_point now);

 private:
  struct OnItsWay {
    std::uint32_t number;
    Clock::time_point sent;
    int grade;
  };
  void judge(Clock::time_point now);
  void change(int grade);

  std::deque<OnItsWay> onTheirWay_;
  double target_ = 0.1;  // seconds from picture to picture
  int grade_ = 0;
  int seen_ = 0;                       // since the grade was changed
  double delay_ = 0;                   // smoothed, seconds
  std::optional<double> delayBefore_;  // before the grade was lowered
  Clock::time_point goodUntil_{};      // lowering does not help before
  Clock::time_point raisedAt_{};
  Clock::duration patience_ = std::chrono::seconds(2);  // with a good line, before it is raised
  std::optional<Clock::time_point> goodSince_;
};

}  // namespace orvik::server
