// SPDX-License-Identifier: MIT
#include "capture/frame_queue.h"

#include <utility>

namespace orvik {
namespace {

/// Whether waiting for another capture is pointless: the camera is gone or has failed.
bool isFinal(NoFrame why) { return why == NoFrame::kUnplugged || why == NoFrame::kFailed; }

}  // namespace

void FrameQueue::clear() {
  readIndex_ = writeIndex_ = count_ = 0;
  for (Frame& slot : slots_) slot.memory.reset();
}

void FrameQueue::begin(std::uint64_t capture) {
  const std::lock_guard lock(mutex_);
  clear();
  capture_ = capture;
  ended_.reset();
}

void FrameQueue::suspend(std::uint64_t capture) {
  const std::lock_guard lock(mutex_);
  if (capture != capture_) return;
  clear();
  capture_ = 0;
}

void FrameQueue::end(std::uint64_t capture, NoFrame why) {
  const std::lock_guard lock(mutex_);
  if (capture != capture_ || ended_) return;
  ended_ = why;
  ++endings_;
  changed_.notify_all();
}

void FrameQueue::forget() {
  const std::lock_guard lock(mutex_);
  clear();
}

bool FrameQueue::push(FrameBuffer& memory, const FrameFormat& format, const FrameFacts& facts) {
  {
    const std::lock_guard lock(mutex_);
    if (facts.capture != capture_ || ended_ || count_ == slots_.size()) return false;
    FrameBuffer unused = pool_->take();
    if (!unused) return false;
    Frame& slot = slots_[writeIndex_];
    slot.memory = std::exchange(memory, std::move(unused));
    slot.format = format;
    slot.facts = facts;
    writeIndex_ ^= 1U;
    ++count_;
  }
  // Without the lock, for which a thread that is woken would have to wait.
  changed_.notify_all();
  return true;
}

std::optional<NoFrame> FrameQueue::take(Frame& frame, std::size_t room) {
  if (count_ == 0) return ended_.value_or(NoFrame::kTimeout);
  Frame& slot = slots_[readIndex_];
  if (slot.format.imageBytes() > room) return NoFrame::kDoesNotFit;
  frame.memory = std::move(slot.memory);
  frame.format = slot.format;
  frame.facts = slot.facts;
  readIndex_ ^= 1U;
  --count_;
  return std::nullopt;
}

std::optional<NoFrame> FrameQueue::pop(Frame& frame, std::size_t room, Timeout timeout) {
  std::unique_lock lock(mutex_);
  std::optional<NoFrame> missing = take(frame, room);
  if (!missing || missing == NoFrame::kDoesNotFit) return missing;
  if (timeout ? isFinal(*missing) || timeout->count() <= 0 : ended_.has_value()) return missing;

  const unsigned endingsBefore = endings_;
  const auto isOver = [&] { return count_ > 0 || endings_ != endingsBefore; };
  if (!timeout) {
    changed_.wait(lock, isOver);
  } else {
    changed_.wait_until(lock, std::chrono::steady_clock::now() + *timeout, isOver);
  }
  missing = take(frame, room);
  // A capture has ended during the wait, but another one may have begun since.
  const bool hasEnded = missing == NoFrame::kTimeout && endings_ != endingsBefore;
  return hasEnded ? NoFrame::kStopped : missing;
}

}  // namespace orvik
