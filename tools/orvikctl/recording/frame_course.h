// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "orvik/orvik.hpp"

namespace orvik::ctl {

/// The course of a video in time, by what the frames say of themselves: the starts of their
/// exposures, not the moments at which the program got them.
class FrameCourse {
 public:
  void add(const FrameInfo& frame);

  [[nodiscard]] std::int64_t frames() const { return frames_; }
  /// The first and the last frame; without meaning before there is one.
  [[nodiscard]] const FrameInfo& first() const { return first_; }
  [[nodiscard]] const FrameInfo& last() const { return last_; }

  /// From the first frame to the last.
  ///
  /// The times of frames are late when the computer is busy, and often so at the start of a video.
  /// Over a long one this does not count; the length of a short one is that of so many intervals
  /// of the usual length.
  [[nodiscard]] double seconds() const;
  /// Frames per second; nothing if there are too few of them to tell.
  [[nodiscard]] std::optional<double> rate() const;
  /// The rate at the longest time between two frames.
  [[nodiscard]] std::optional<double> lowestRate() const;

 private:
  /// Usual time from a frame to the next number, ns; nothing for less than ten frames.
  [[nodiscard]] std::optional<double> usualInterval() const;

  std::int64_t frames_ = 0;
  FrameInfo first_;
  FrameInfo last_;
  std::int64_t longest_ = 0;       // ns
  std::vector<double> intervals_;  // ns, of the first frames; lost ones share theirs
};

}  // namespace orvik::ctl
