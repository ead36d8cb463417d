// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "seam/clock.h"
#include "sim/sky/look.h"
#include "sim/telescope/air.h"
#include "sim/telescope/mount.h"
#include "sim/telescope/telescope_options.h"

namespace orvik::sim {

/// Mount, air and focus: what the sky looked like at each time since the plugging. Not thread-safe.
class Telescope {
 public:
  using Duration = seam::Clock::Duration;

  Telescope(const TelescopeOptions& options, std::uint64_t seed, Duration plugged)
      : focus_(options.focus),
        plugged_(plugged),
        mount_(options, plugged),
        air_(options.seeing, seed) {}

  void guide(int line, bool on, Duration now) { mount_.guide(line, on, now); }

  /// What an exposure from `begins` to `ends` shows.
  [[nodiscard]] Look look(Duration begins, Duration ends) const;

 private:
  [[nodiscard]] double defocus(double time) const;

  FocusCourse focus_;
  Duration plugged_;
  Mount mount_;
  Air air_;
};

}  // namespace orvik::sim
