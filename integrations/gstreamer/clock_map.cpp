// SPDX-License-Identifier: MIT
#include "integrations/gstreamer/clock_map.h"

#include <algorithm>
#include <chrono>
#include <limits>
#include <utility>

namespace orvik::gst {
namespace {

std::int64_t monotonicNow() {
  using std::chrono::nanoseconds;
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration_cast<nanoseconds>(now).count();
}

}  // namespace

ClockMap::Observation ClockMap::look(GstClock* clock) {
  // The thread may be interrupted between the two clocks: the quickest look of three is used.
  Observation best;
  std::int64_t shortest = std::numeric_limits<std::int64_t>::max();
  for (int n = 0; n < 3; ++n) {
    const std::int64_t begun = monotonicNow();
    const auto shown = static_cast<std::int64_t>(gst_clock_get_time(clock));
    const std::int64_t taken = monotonicNow() - begun;
    if (taken < shortest) best = {begun + taken / 2, shown};
    shortest = std::min(shortest, taken);
  }
  return best;
}

void ClockMap::observe(GstClock* clock) {
  if (std::exchange(clock_, clock) != clock) observations_.clear();
  observations_.push_back(look(clock));
}

std::int64_t ClockMap::toClock(std::int64_t monotonic) {
  while (observations_.size() > 2 && observations_[1].monotonic <= monotonic) {
    observations_.pop_front();
  }
  const Observation& first = observations_.front();
  const std::int64_t since = monotonic - first.monotonic;
  if (observations_.size() < 2 || since <= 0) return first.clock + since;
  const Observation& second = observations_[1];
  const double speed = static_cast<double>(second.clock - first.clock) /
                       static_cast<double>(second.monotonic - first.monotonic);
  return first.clock + static_cast<std::int64_t>(speed * static_cast<double>(since));
}

}  // namespace orvik::gst
