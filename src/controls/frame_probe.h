// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <optional>

#include "controls/frame_measurement.h"

namespace orvik {

/// Brings what is asked about frames to the thread that sees them, and its answer back. A frame
/// that nobody asks about costs one load, and none is ever copied.
///
/// One thread asks, one answers; close() from any.
class FrameProbe {
 public:
  /// Waits for the measurement of a frame that comes from now on. Ends with the next frame, or by
  /// close(): the capture that brings the frames ends it.
  /// @return none when closed.
  std::optional<FrameMeasurement> ask(Wanted wanted);

  /// What is asked about the next frame.
  [[nodiscard]] Wanted wanted() const { return wanted_; }
  void answer(const FrameMeasurement& measurement);

  /// No frames will come any more.
  void close();

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::atomic<Wanted> wanted_{Wanted{}};
  std::optional<FrameMeasurement> answer_;
  bool closed_ = false;
};

}  // namespace orvik
