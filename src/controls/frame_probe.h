// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <optional>

#include "controls/frame_measurement.h"

namespace orvik {

/// Passes requests for measurements to the thread that sees the frames, and its answers back. A
/// frame without a request costs one load; frames are never copied.
///
/// One thread asks, one answers; close() may be called from any thread.
class FrameProbe {
 public:
  /// Waits for the measurement of the next frame, without a timeout: the capture calls close() when
  /// it ends.
  /// @return nothing when closed.
  std::optional<FrameMeasurement> ask(Wanted wanted);

  /// The measurements that are requested for the next frame.
  [[nodiscard]] Wanted wanted() const { return wanted_; }
  void answer(const FrameMeasurement& measurement);

  /// No more frames will come; ends ask().
  void close();

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::atomic<Wanted> wanted_{Wanted{}};
  std::optional<FrameMeasurement> answer_;
  bool closed_ = false;
};

}  // namespace orvik
