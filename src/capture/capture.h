// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstdint>

#include "orvik/orvik.h"
#include "state/frame_format.h"

namespace orvik {

/// One capture, from its start to its end and for as long as somebody asks how it ended: a video,
/// or a snapshot. What it is does not change; how it stands belongs to it alone, so that a worker
/// that could not be stopped in time reports to nobody but its own capture.
class Capture {
 public:
  /// @param number counted from 1 for each camera object
  Capture(std::uint64_t number, bool snapshot, const FrameFormat& format)
      : number_(number), snapshot_(snapshot), format_(format) {}

  [[nodiscard]] std::uint64_t number() const { return number_; }
  [[nodiscard]] bool isSnapshot() const { return snapshot_; }
  [[nodiscard]] const FrameFormat& format() const { return format_; }

  /// Whether frames may still come.
  [[nodiscard]] bool isRunning() const { return running_; }
  /// Of a video: #Orvik_EXPSTATE_EXPOSING while it runs.
  [[nodiscard]] Orvik_EXPOSURE_STATUS status() const { return status_; }
  /// Frames lost so far; 0 once it has ended.
  [[nodiscard]] int lostFrames() const { return lostFrames_; }

  void countLostFrame() { ++lostFrames_; }
  /// No frames will come any more. Who learns the status from elsewhere may start the next capture
  /// at once, so the status is told last.
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
