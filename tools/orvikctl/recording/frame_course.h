// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <optional>

#include "orvik/orvik.hpp"

namespace orvik::ctl {

/// The course of a recording in time, by what the frames say of themselves: the starts of their
/// exposures, not the moments at which the program got them.
class FrameCourse {
 public:
  void add(const FrameInfo& frame) {
    if (frames_++ == 0) {
      first_ = frame;
    } else {
      longest_ = std::max(longest_, frame.exposureStart - last_.exposureStart);
    }
    last_ = frame;
  }

  [[nodiscard]] std::int64_t frames() const { return frames_; }
  /// The first and the last frame; without meaning before there is one.
  [[nodiscard]] const FrameInfo& first() const { return first_; }
  [[nodiscard]] const FrameInfo& last() const { return last_; }

  /// From the first frame to the last.
  [[nodiscard]] double seconds() const {
    return frames_ < 2 ? 0 : 1e-9 * static_cast<double>(last_.exposureStart - first_.exposureStart);
  }
  /// Frames per second.
  [[nodiscard]] std::optional<double> rate() const {
    if (seconds() <= 0) return std::nullopt;
    return static_cast<double>(frames_ - 1) / seconds();
  }
  /// The rate at the longest time between two frames.
  [[nodiscard]] std::optional<double> lowestRate() const {
    if (longest_ <= 0) return std::nullopt;
    return 1e9 / static_cast<double>(longest_);
  }

 private:
  std::int64_t frames_ = 0;
  FrameInfo first_;
  FrameInfo last_;
  std::int64_t longest_ = 0;  // ns
};

}  // namespace orvik::ctl
