// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <optional>
#include <stop_token>

#include "orvik/orvik.hpp"

namespace orvik::ctl {

/// The frames of a camera one after the other, for commands that look at them: those of a video or,
/// for exposures of a second and longer that are not automatic, snapshots, each of which begins
/// when it is waited for.
class FrameLoop {
 public:
  /// @param limit how long the loop runs, counted from now; nothing for no limit
  /// @throws Error if the capture cannot be started
  FrameLoop(Camera& camera, std::optional<std::chrono::microseconds> limit, std::stop_token stop);

  /// Waits for the next frame; its memory is used again.
  ///
  /// @return false when a stop was requested, the loop's time is over, or nobody reads standard
  ///         output any more
  /// @throws Error if the camera fails or is unplugged
  bool next(Frame& frame);

 private:
  using Clock = std::chrono::steady_clock;

  bool nextSnapshot(Frame& frame);

  Camera& camera_;
  std::stop_token stop_;
  Clock::time_point end_ = Clock::time_point::max();
  std::optional<Video> video_;
};

}  // namespace orvik::ctl
