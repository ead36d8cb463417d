// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <vector>

#include "orvik/cpp/frame.hpp"

namespace orvik::imaging {

/// A fixed number of frames between the thread that reads the camera and the one that writes files:
/// a queue of bounded memory. One thread on either side.
///
/// The frame that was released last is filled next, and one without memory is only used if the
/// writer still needs the others when the camera can have sent the next image. While the writer
/// keeps up, one frame has memory, and the processor's caches stay warm.
class FramePool {
 public:
  /// What taking a frame has brought.
  enum class Taken { kFrame, kNothingYet, kEnd };

  /// As many frames as fit into `memoryBytes`, two at least.
  FramePool(std::size_t frameBytes, std::size_t memoryBytes);

  /// Reading side: a frame to fill, waiting for one if need be; null once the pool is closed.
  Frame* acquire();
  /// How often acquire() had to wait, because the other side was too slow. Any thread.
  [[nodiscard]] std::int64_t timesFull() const {
    return timesFull_.load(std::memory_order_relaxed);
  }
  /// How many frames it can hold.
  [[nodiscard]] std::size_t size() const { return frames_.size(); }
  /// How many of them were in use at most: filled, queued or written. Any thread.
  [[nodiscard]] std::size_t mostUsed() const { return mostUsed_.load(std::memory_order_relaxed); }
  /// Reading side: queues the filled frame.
  void publish(Frame* frame);
  /// Reading side: returns a frame that was not filled.
  void giveBack(Frame* frame);
  /// Reading side: no frame will follow.
  void end();

  /// Writing side: the oldest queued frame; kEnd once there will be none.
  Taken take(Frame*& frame, std::chrono::milliseconds wait);
  /// Writing side: the frame is written.
  void release(Frame* frame) { giveBack(frame); }
  /// Writing side: no frame is wanted any more; acquire() then returns null.
  void close();

 private:
  std::vector<Frame> frames_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<Frame*> free_;
  std::deque<Frame*> filled_;
  std::size_t unused_;  ///< of the free frames, how many never had memory: the first ones
  const std::chrono::microseconds patience_;  ///< with a writer, before another frame gets memory
  bool ended_ = false;
  bool closed_ = false;
  std::atomic<std::int64_t> timesFull_ = 0;
  std::atomic<std::size_t> mostUsed_ = 0;
};

}  // namespace orvik::imaging
