// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

#include "seam/clock.h"

namespace orvik::sim {

/// The FIFO between a camera's board and its link. The board fills it at the pace of its lines,
/// whether there is room or not; the link empties it at its rate. The host is taken to be always
/// ready; the streamer handles a late host.
///
/// Each call is given the time of the camera's clock, which never goes back.
class LinkFifo {
 public:
  using Duration = seam::Clock::Duration;

  static constexpr std::size_t kBytes = std::size_t{256} << 10U;
  static constexpr double kUnlimited = std::numeric_limits<double>::infinity();

  /// Empties the FIFO at the link's rate until `now`.
  /// @param rate bytes per second
  void drain(Duration now, double rate) {
    if (std::isinf(rate)) {
      level_ = 0;
    } else if (now > at_) {
      level_ = std::max(0.0, level_ - rate * std::chrono::duration<double>(now - at_).count());
    }
    at_ = std::max(at_, now);
  }

  /// Adds what the board has sent since the last call.
  /// @param now when its last byte came; `rate` as with drain()
  /// @return how much of it found room; the rest is lost.
  std::size_t put(std::size_t bytes, Duration now, double rate) {
    level_ += static_cast<double>(bytes);
    drain(now, rate);
    const double over = std::ceil(std::max(0.0, level_ - static_cast<double>(kBytes)));
    const std::size_t lost = std::min(bytes, static_cast<std::size_t>(over));
    level_ -= static_cast<double>(lost);
    return bytes - lost;
  }

  /// Bytes that have not left it.
  [[nodiscard]] std::size_t level() const { return static_cast<std::size_t>(std::ceil(level_)); }

  void clear() { level_ = 0; }

 private:
  double level_ = 0;
  Duration at_{};
};

}  // namespace orvik::sim
