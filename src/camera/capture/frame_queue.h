// SPDX-License-Identifier: MIT
#pragma once

#include <semaphore.h>

#include <array>
#include <chrono>
#include <mutex>
#include <optional>

#include "camera/page_buffer.h"

namespace orvik {

/// Hands frames from the capture worker to the thread that delivers them: two slots, oldest first.
///
/// A push never waits: when both slots are taken the frame is dropped. Frames change hands by
/// exchanging buffers; nothing is copied. One thread pushes, one pops; clear, open and close may be
/// called from either.
class FrameQueue {
 public:
  /// How long a pop may wait; none waits as long as frames can come.
  using Wait = std::optional<std::chrono::milliseconds>;

  /// @param frameBytes capacity of each slot
  explicit FrameQueue(std::size_t frameBytes);
  ~FrameQueue();
  FrameQueue(const FrameQueue&) = delete;
  FrameQueue& operator=(const FrameQueue&) = delete;

  /// Exchanges `frame` for the buffer of a free slot.
  /// @return false when there was none; `frame` is then as it was.
  bool push(FrameBuffer& frame);

  /// Exchanges `frame` for the oldest waiting frame, waiting for one if need be.
  ///
  /// A closed queue gives what it still holds. Once it is empty a wait on it ends early when it is
  /// closed meanwhile, and without a limit at once.
  /// @return false when no frame came.
  bool pop(FrameBuffer& frame, Wait wait);

  /// Forgets the frames that wait.
  void clear();

  /// Frames will come: waiting makes sense.
  void open();
  /// No more frames will come: wakes whoever waits.
  void close();

  /// Whether the slots have their memory.
  [[nodiscard]] bool isUsable() const;

 private:
  bool take(FrameBuffer& frame);
  [[nodiscard]] bool isOpen() const;
  [[nodiscard]] unsigned closings() const;

  mutable std::mutex mutex_;
  std::array<FrameBuffer, 2> slots_;
  unsigned readIndex_ = 0;
  unsigned writeIndex_ = 0;
  unsigned count_ = 0;
  bool open_ = false;
  unsigned closings_ = 0;
  sem_t arrivals_;  ///< posted when the queue stops being empty, and when it is closed
};

}  // namespace orvik
