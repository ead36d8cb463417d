// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

#include "base/page_buffer.h"
#include "capture/frame_pool.h"
#include "state/frame_facts.h"
#include "state/frame_format.h"

namespace orvik {

/// A frame on its way from the capture worker to the caller.
struct Frame {
  FrameBuffer memory;
  FrameFormat format;
  FrameFacts facts;
};

/// Why there is no frame for a caller.
enum class NoFrame : std::uint8_t {
  kTimeout,     ///< none arrived before the timeout
  kStopped,     ///< no capture is running, or it was stopped
  kUnplugged,   ///< the camera is gone
  kFailed,      ///< the capture ended without one
  kDoesNotFit,  ///< there is one, but its image is larger than the buffer
};

/// Passes frames from the capture worker to the thread that delivers them: two slots, oldest first.
///
/// A push never waits: when both slots are taken the frame is dropped. Frames are passed by handing
/// over their buffers; nothing is copied, and an empty slot has no memory. The queue serves one
/// capture after the other, each with a number: it accepts frames of the present capture only, and
/// drops them when the next one begins. One thread pushes, one pops; everything else may be called
/// from any thread.
class FrameQueue {
 public:
  /// How long a pop may wait; without a value it waits as long as a capture runs.
  using Timeout = std::optional<std::chrono::milliseconds>;

  /// @param pool the memory for frames
  explicit FrameQueue(std::shared_ptr<FramePool> pool) : pool_(std::move(pool)) {}
  FrameQueue(const FrameQueue&) = delete;
  FrameQueue& operator=(const FrameQueue&) = delete;

  /// A capture begins: the frames of the previous one are dropped.
  void begin(std::uint64_t capture);
  /// The capture ends and another one follows at once: its frames are dropped, and waiting callers
  /// go on waiting.
  void suspend(std::uint64_t capture);
  /// No frame of this capture will follow: wakes waiting callers.
  /// @param why what a pop returns that finds no frame
  void end(std::uint64_t capture, NoFrame why);
  /// Drops the queued frames.
  void forget();

  /// Exchanges `memory` for an unused buffer.
  /// @return false when no slot is free or there is no memory, or the frame is not of the present
  ///         capture; `memory` is then unchanged.
  bool push(FrameBuffer& memory, const FrameFormat& format, const FrameFacts& facts);

  /// Replaces `frame` by the oldest queued one, and waits for one if necessary.
  ///
  /// With a timeout, it also waits for a capture to begin. The wait ends when a capture ends. It
  /// does not wait at all if the last capture ended because the camera failed or is gone, nor,
  /// without a timeout, while no capture runs.
  /// @param room bytes that the image may have; a larger one stays in the queue
  /// @return why there is no frame; nothing when there is one.
  std::optional<NoFrame> pop(Frame& frame, std::size_t room, Timeout timeout);

 private:
  void clear();
  std::optional<NoFrame> take(Frame& frame, std::size_t room);

  const std::shared_ptr<FramePool> pool_;
  std::mutex mutex_;
  std::array<Frame, 2> slots_;
  unsigned readIndex_ = 0;
  unsigned writeIndex_ = 0;
  unsigned count_ = 0;
  std::uint64_t capture_ = 0;
  std::optional<NoFrame> ended_ = NoFrame::kStopped;  ///< empty while a capture runs
  unsigned endings_ = 0;
  std::condition_variable changed_;  ///< a frame has arrived, or a capture has ended
};

}  // namespace orvik
