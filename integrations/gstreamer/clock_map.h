// SPDX-License-Identifier: MIT
#pragma once

#include <gst/gst.h>

#include <cstdint>
#include <deque>

namespace orvik::gst {

/// Converts times of CLOCK_MONOTONIC, in which the library measures, to those of the pipeline's
/// clock.
///
/// Between two observations it interpolates, so that a clock of a different speed, such as that of
/// a sound card, is followed during a long exposure as well.
class ClockMap {
 public:
  /// Notes what both clocks show now.
  void observe(GstClock* clock);
  /// The time that the clock showed at `monotonic`, which must not decrease from call to call.
  [[nodiscard]] std::int64_t toClock(std::int64_t monotonic);

 private:
  struct Observation {
    std::int64_t monotonic = 0;
    std::int64_t clock = 0;
  };
  static Observation look(GstClock* clock);

  const GstClock* clock_ = nullptr;  // only compared
  std::deque<Observation> observations_;
};

}  // namespace orvik::gst
