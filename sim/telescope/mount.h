// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "seam/clock.h"
#include "sim/sky/look.h"
#include "sim/telescope/telescope_options.h"

namespace orvik::sim {

/// The mount below the telescope: it drifts, and it moves while guide lines are on. Lines 0 to 3
/// are north, south, east and west of an image with north up and east to the left: a line to the
/// north moves the stars down, one to the east moves them to the right. Opposite lines cancel each
/// other.
class Mount {
 public:
  using Duration = seam::Clock::Duration;
  static constexpr int kLines = 4;
  static constexpr std::size_t kMostPlaces = 64;

  Mount(const TelescopeOptions& options, Duration plugged);

  /// @param now not earlier than in the call before
  void guide(int line, bool on, Duration now);

  /// Where the sky stood from `begins` to `ends`: places about a pixel apart, or further apart when
  /// the path needs more than kMostPlaces. Their weighted mean is the mean of the path.
  [[nodiscard]] std::vector<Place> path(Duration begins, Duration ends) const;

 private:
  /// A time of constant velocity; it ends where the next one begins.
  struct Leg {
    Duration begins{};
    Offset from;
    Offset velocity;  ///< pixels per second

    [[nodiscard]] Offset at(Duration time) const;
  };

  [[nodiscard]] std::size_t legAt(Duration time) const;
  [[nodiscard]] std::vector<Place> samples(Duration begins, Duration ends) const;

  Offset drift_;
  std::array<Offset, kLines> velocities_;
  std::array<bool, kLines> on_{};
  std::vector<Leg> legs_;
};

}  // namespace orvik::sim
