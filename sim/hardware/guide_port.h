// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "seam/clock.h"

namespace orvik::sim {

/// A change of a guide line.
struct GuideEvent {
  seam::Clock::Duration at{};
  int direction = 0;  ///< 0 to 3
  bool on = false;
};

/// The guide port: four lines that ask the mount to move, with a log of their changes.
class GuidePort {
 public:
  static constexpr int kLines = 4;

  /// @return false when there is no such line.
  bool set(int direction, bool on, seam::Clock::Duration now) {
    if (direction < 0 || direction >= kLines) return false;
    bool& line = lines_.at(static_cast<std::size_t>(direction));
    if (line != on && log_.size() < kLogLimit) log_.push_back({now, direction, on});
    line = on;
    return true;
  }

  [[nodiscard]] const std::vector<GuideEvent>& log() const { return log_; }

 private:
  static constexpr std::size_t kLogLimit =
      100000;  ///< a night of guiding; later changes go unlogged

  std::array<bool, kLines> lines_{};
  std::vector<GuideEvent> log_;
};

}  // namespace orvik::sim
