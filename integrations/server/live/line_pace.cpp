// SPDX-License-Identifier: MIT
#include "integrations/server/live/line_pace.h"

#include <algorithm>
#include <array>

namespace orvik::server {
namespace {

using std::chrono::seconds;

constexpr std::array<LinePace::Grade, 6> kGrades{
    {{85, 1}, {70, 1}, {50, 1}, {70, 2}, {50, 2}, {50, 4}}};
constexpr std::size_t kMostOnTheirWay = 2;
// A message that a viewer never tells of does not stop its pictures for good.
constexpr auto kForgotten = seconds(5);
constexpr double kShortestTarget = 0.1;
constexpr double kLongestTarget = 2;
// The first pictures of a grade wait behind those of the one before.
constexpr int kIgnored = 2;
constexpr int kJudged = 5;  // pictures after which a grade is judged
constexpr double kSmoothing = 0.3;
constexpr double kHelps = 0.9;  // part of the former delay that counts as an improvement
constexpr auto kLongestPatience = seconds(60);

double inSeconds(LinePace::Clock::duration time) {
  return std::chrono::duration<double>(time).count();
}

}  // namespace

bool LinePace::mayTake(Clock::time_point now) const {
  return onTheirWay_.size() < kMostOnTheirWay || now - onTheirWay_.back().sent > kForgotten;
}

LinePace::Grade LinePace::grade() const { return kGrades[static_cast<std::size_t>(grade_)]; }

void LinePace::sent(std::uint32_t number, Clock::time_point now, Clock::duration interval) {
  target_ = std::clamp(inSeconds(interval), kShortestTarget, kLongestTarget);
  if (onTheirWay_.size() >= kMostOnTheirWay) onTheirWay_.pop_front();
  onTheirWay_.push_back({number, now, grade_});
}

void LinePace::seen(std::uint32_t number, Clock::time_point now) {
  std::optional<OnItsWay> picture;
  while (!onTheirWay_.empty() && onTheirWay_.front().number <= number) {
    if (onTheirWay_.front().number == number) picture = onTheirWay_.front();
    onTheirWay_.pop_front();
  }
  if (!picture || picture->grade != grade_) return;
  const double delay = inSeconds(now - picture->sent);
  ++seen_;
  delay_ = seen_ <= kIgnored + 1 ? delay : delay_ + kSmoothing * (delay - delay_);
  if (seen_ >= kJudged) judge(now);
}

void LinePace::judge(Clock::time_point now) {
  // With two pictures on their way one arrives in each half of the delay.
  const bool isSlow = delay_ > 2 * target_;
  if (delayBefore_ && delay_ > kHelps * *delayBefore_ && isSlow) {
    goodUntil_ = now + seconds(30);
    delayBefore_.reset();
    change(grade_ - 1);
    return;
  }
  if (isSlow && now > goodUntil_ && grade_ + 1 < static_cast<int>(kGrades.size())) {
    // It was raised too early: more patience the next time.
    if (now - raisedAt_ < seconds(5)) {
      patience_ = std::min<Clock::duration>(2 * patience_, kLongestPatience);
    }
    const double before = delay_;
    change(grade_ + 1);
    delayBefore_ = before;
    return;
  }
  if (delay_ > target_ || grade_ == 0) {
    goodSince_.reset();
    return;
  }
  if (!goodSince_) goodSince_ = now;
  if (now - *goodSince_ >= patience_) {
    delayBefore_.reset();
    raisedAt_ = now;
    change(grade_ - 1);
  }
}

void LinePace::change(int grade) {
  grade_ = std::clamp(grade, 0, static_cast<int>(kGrades.size()) - 1);
  seen_ = 0;
  goodSince_.reset();
}

}  // namespace orvik::server
