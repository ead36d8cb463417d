// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <exception>
#include <optional>
#include <stop_token>
#include <thread>

#include "imaging/frame_pool.h"
#include "orvik/orvik.hpp"

namespace orvik::imaging {

/// The limits at which a recording ends.
struct VideoLimits {
  std::optional<std::int64_t> frames;
  std::optional<std::chrono::microseconds> duration;  ///< since the start of capture
};

/// Reads the video of a camera on a thread of its own, so that a slow disk does not hold the camera
/// up. Starts capture; stops it when the limits are reached, a stop is requested, or the camera
/// fails.
class VideoReader {
 public:
  /// @param memoryBytes limit of the memory for frames that wait to be written
  /// @throws Error if the video cannot be started
  VideoReader(Camera& camera, const VideoLimits& limits, std::size_t memoryBytes,
              std::stop_token stop);
  /// Ends the thread; frames still queued are lost.
  ~VideoReader();
  VideoReader(const VideoReader&) = delete;
  VideoReader& operator=(const VideoReader&) = delete;

  /// The frames; take() and release() are for the caller.
  FramePool& frames() { return pool_; }
  /// Frames lost so far. Any thread.
  [[nodiscard]] std::int64_t lost() const { return lost_.load(std::memory_order_relaxed); }
  /// Whether the camera has failed; frames may still be queued. Any thread.
  [[nodiscard]] bool hasFailed() const { return hasFailed_.load(std::memory_order_acquire); }
  /// Whether it was unplugged. Any thread, once it has failed.
  [[nodiscard]] bool wasUnplugged() const { return wasUnplugged_; }
  /// After the last frame was taken: throws what ended the capture early, if anything did.
  void finish();

 private:
  using Clock = std::chrono::steady_clock;

  void run();
  void readAll();

  Camera& camera_;
  VideoLimits limits_;
  FramePool pool_;
  std::stop_source stop_;
  std::stop_callback<std::function<void()>> stopWithCaller_;
  std::optional<Video> video_;
  Clock::time_point begun_;
  std::atomic<std::int64_t> lost_ = 0;
  bool wasUnplugged_ = false;  // written by the thread before it sets hasFailed_
  std::atomic<bool> hasFailed_ = false;
  std::exception_ptr fault_;  // written by the thread, read once it has ended
  std::thread thread_;
};

}  // namespace orvik::imaging
