// SPDX-License-Identifier: MIT
#include "tools/orvikctl/recording/frame_course.h"

#include <algorithm>

namespace orvik::ctl {
namespace {

constexpr double kLong = 5e9;  // ns
constexpr std::size_t kMostIntervals = 5000;

double span(const FrameInfo& from, const FrameInfo& to) {
  return static_cast<double>(to.exposureStart - from.exposureStart);
}

}  // namespace

void FrameCourse::add(const FrameInfo& frame) {
  if (frames_++ == 0) {
    first_ = frame;
  } else {
    longest_ = std::max(longest_, frame.exposureStart - last_.exposureStart);
    const auto numbers =
        static_cast<double>(std::max<std::int64_t>(1, frame.number - last_.number));
    if (intervals_.size() < kMostIntervals) intervals_.push_back(span(last_, frame) / numbers);
  }
  last_ = frame;
}

double FrameCourse::seconds() const {
  if (frames_ < 2) return 0;
  const double length = span(first_, last_);
  const auto interval = usualInterval();
  if (length > kLong || !interval) return 1e-9 * std::max(0.0, length);
  return 1e-9 * *interval * static_cast<double>(last_.number - first_.number);
}

std::optional<double> FrameCourse::rate() const {
  constexpr double kFew = 0.1;  // s, which a late frame hardly changes
  if (!usualInterval() && seconds() < kFew) return std::nullopt;
  return static_cast<double>(frames_ - 1) / seconds();
}

std::optional<double> FrameCourse::lowestRate() const {
  if (longest_ <= 0) return std::nullopt;
  return 1e9 / static_cast<double>(longest_);
}

std::optional<double> FrameCourse::usualInterval() const {
  constexpr std::size_t kEnough = 9;
  if (intervals_.size() < kEnough) return std::nullopt;
  std::vector<double> sorted = intervals_;
  const auto middle = sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 2);
  std::nth_element(sorted.begin(), middle, sorted.end());
  if (*middle <= 0) return std::nullopt;
  return *middle;
}

}  // namespace orvik::ctl
