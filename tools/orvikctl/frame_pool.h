// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <span>
#include <vector>

#include "orvik/orvik_service.h"

namespace orvik::ctl {

/// A captured frame on its way to the disk.
struct PooledFrame {
  std::span<std::uint8_t> pixels;
  Orvik_FRAME_INFO info{};
};

/// A fixed number of frame buffers between the thread that reads the camera and the one that writes
/// files: a queue of bounded memory. One thread on either side.
///
/// The buffer that was freed last is filled next, so that while the writer keeps up only a few
/// buffers are ever touched and the processor's caches stay warm.
class FramePool {
 public:
  /// What taking a frame has brought.
  enum class Taken { kFrame, kNothingYet, kEnd };

  /// As many buffers as fit into `memoryBytes`, two at least.
  FramePool(std::size_t frameBytes, std::size_t memoryBytes);

  /// Reading side: a buffer to fill, waiting for one if need be; null once the pool is closed.
  PooledFrame* acquire();
  /// Reading side: queues the filled buffer.
  void publish(PooledFrame* frame);
  /// Reading side: gives an unfilled buffer back.
  void giveBack(PooledFrame* frame);
  /// Reading side: no frame will follow.
  void end();

  /// Writing side: the oldest queued frame; kEnd once there will be none.
  Taken take(PooledFrame*& frame, std::chrono::milliseconds wait);
  /// Writing side: the frame is written.
  void release(PooledFrame* frame) { giveBack(frame); }
  /// Writing side: no frame is wanted any more; acquire() then answers null.
  void close();

 private:
  std::unique_ptr<std::uint8_t[]> memory_;
  std::vector<PooledFrame> frames_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<PooledFrame*> free_;
  std::deque<PooledFrame*> filled_;
  bool ended_ = false;
  bool closed_ = false;
};

}  // namespace orvik::ctl
