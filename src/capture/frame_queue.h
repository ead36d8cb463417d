// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>

#include "base/page_buffer.h"
#include "state/frame_facts.h"
#include "state/frame_format.h"

namespace orvik {

/// A frame on its way from the capture worker to the caller: its memory, and what it is.
struct Frame {
  FrameBuffer memory;
  FrameFormat format;
  FrameFacts facts;
};

/// Why somebody who wanted a frame has none.
enum class NoFrame : std::uint8_t {
  kTimeout,     ///< none came in time
  kStopped,     ///< no capture is running, or it was stopped
  kUnplugged,   ///< the camera is gone
  kFailed,      ///< the capture ended without one
  kDoesNotFit,  ///< one is there, but its image is larger than the buffer
};

/// Hands frames from the capture worker to the thread that delivers them: two slots, oldest first.
///
/// A push never waits: when both slots are taken the frame is dropped. Frames change hands by
/// exchanging buffers; nothing is copied. Captures follow one another here, each with its number: a
/// frame of any other capture than the present one is refused, and the frames of one never reach
/// the next. One thread pushes, one pops; everything else may be called from any thread.
class FrameQueue {
 public:
  /// How long a pop may wait; none waits as long as a capture runs.
  using Timeout = std::optional<std::chrono::milliseconds>;

  /// @param first, second memory for one frame each
  FrameQueue(FrameBuffer first, FrameBuffer second);
  FrameQueue(const FrameQueue&) = delete;
  FrameQueue& operator=(const FrameQueue&) = delete;

  /// A capture begins: the frames of the one before are forgotten.
  void begin(std::uint64_t capture);
  /// The capture gives way to another one, which follows at once: its frames are forgotten, and
  /// those who wait go on waiting.
  void suspend(std::uint64_t capture);
  /// No frame of this capture will follow: wakes whoever waits.
  /// @param why what those are told who find no frame
  void end(std::uint64_t capture, NoFrame why);
  /// Forgets the frames that wait.
  void forget();

  /// Exchanges `memory` for the buffer of a free slot.
  /// @return false when there was none, or the frame is not of the present capture; `memory` is
  ///         then as it was.
  bool push(FrameBuffer& memory, const FrameFormat& format, const FrameFacts& facts);

  /// Exchanges `frame` for the oldest waiting one, waiting for one if need be.
  ///
  /// A wait with a limit also waits for a capture to begin. A capture that ends wakes it, and so
  /// does one that has ended because the camera failed or is gone; without a limit there is no
  /// waiting while no capture runs.
  /// @param room bytes that the image may have; a larger one stays where it is
  /// @return why there is no frame; none when there is.
  std::optional<NoFrame> pop(Frame& frame, std::size_t room, Timeout timeout);

  /// Whether the slots have their memory.
  [[nodiscard]] bool isUsable() const;

 private:
  void clear();
  std::optional<NoFrame> take(Frame& frame, std::size_t room);

  mutable std::mutex mutex_;
  std::array<Frame, 2> slots_;
  unsigned readIndex_ = 0;
  unsigned writeIndex_ = 0;
  unsigned count_ = 0;
  std::uint64_t capture_ = 0;
  std::optional<NoFrame> ended_ = NoFrame::kStopped;  ///< none while a capture runs
  unsigned endings_ = 0;
  std::condition_variable changed_;  ///< a frame has come, or a capture has ended
};

}  // namespace orvik
