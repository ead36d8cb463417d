// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstdint>

#include "orvik/orvik.h"
#include "state/frame_format.h"

namespace orvik {

/// One capture, a video or a snapshot: its constant properties and its status, which remains
/// readable after the end. Each capture has a status of its own, so that a worker that could not be
/// stopped in time changes only that of its own capture.
class Capture {
 public:
  /// @param number counted from 1 for each camera object
  Capture(std::uint64_t number, bool snapshot, const FrameFormat& format)
      : number_(number), snapshot_(snapshot), format_(format) {}

  [[nodiscard]] std::uint64_t number() const { return number_; }
  [[nodiscard]] bool isSnapshot() const { return snapshot_; }
  [[nodiscard]] const FrameFormat& format() const { return format_; }

  /// Whether frames may still arrive.
  [[nodiscard]] bool isRunning() const { return running_; }
  /// #Orvik_EXPSTATE_EXPOSING while it runs, also for a video.
  [[nodiscard]] Orvik_EXPOSURE_STATUS status() const { return status_; }
  /// Frames lost so far; 0 once it has ended.
  [[nodiscard]] int lostFrames() const { return lostFrames_; }

  void countLostFrame() { ++lostFrames_; }
  /// Ends the capture: no more frames will arrive. The status is set last, because a thread that
  /// sees it may start the next capture at once.
  void end(Orvik_EXPOSURE_STATUS status) {
    lostFrames_ = 0;
    running_ = false;
    status_ = status;
  }

 private:
  const std::uint64_t number_;
  const bool snapshot_;
  const FrameFormat format_;
  std::atomic<bool> running_{true};
  std::atomic<Orvik_EXPOSURE_STATUS> status_{Orvik_EXPSTATE_EXPOSING};
  std::atomic<int> lostFrames_{0};
};

}  // namespace orvik
