// SPDX-License-Identifier: MIT
#include "camera/capture/frame_queue.h"

#include <cerrno>
#include <ctime>
#include <utility>

namespace orvik {
namespace {

using SteadyTime = std::chrono::steady_clock::time_point;

timespec toTimespec(SteadyTime time) {
  const auto sinceStart = time.time_since_epoch();
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(sinceStart);
  const auto rest = std::chrono::duration_cast<std::chrono::nanoseconds>(sinceStart - seconds);
  return {static_cast<std::time_t>(seconds.count()), static_cast<long>(rest.count())};
}

/// Waits for the semaphore until `deadline`, or without limit. @return false at the deadline.
bool waitFor(sem_t& semaphore, const std::optional<timespec>& deadline) {
  for (;;) {
    const int failed =
        deadline ? sem_clockwait(&semaphore, CLOCK_MONOTONIC, &*deadline) : sem_wait(&semaphore);
    if (failed == 0) return true;
    if (errno != EINTR) return false;
  }
}

/// Those who lost the camera, or the capture with it, need not wait for another one.
bool isFinal(NoFrame why) { return why == NoFrame::kUnplugged || why == NoFrame::kFailed; }

}  // namespace

FrameQueue::FrameQueue(FrameBuffer first, FrameBuffer second) {
  slots_[0].memory = std::move(first);
  slots_[1].memory = std::move(second);
  sem_init(&events_, 0, 0);
}

FrameQueue::~FrameQueue() { sem_destroy(&events_); }

void FrameQueue::clear() { readIndex_ = writeIndex_ = count_ = 0; }

// The semaphore never counts beyond one, so nobody who polls leaves a heap of events behind for the
// next who waits. All who post hold the mutex.
void FrameQueue::wake() {
  int value = 0;
  sem_getvalue(&events_, &value);
  if (value <= 0) sem_post(&events_);
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
  wake();
}

void FrameQueue::forget() {
  const std::lock_guard lock(mutex_);
  clear();
}

bool FrameQueue::push(FrameBuffer& memory, const FrameFormat& format, const FrameFacts& facts) {
  const std::lock_guard lock(mutex_);
  if (facts.capture != capture_ || ended_ || count_ == slots_.size()) return false;
  Frame& slot = slots_[writeIndex_];
  std::swap(memory, slot.memory);
  slot.format = format;
  slot.facts = facts;
  writeIndex_ ^= 1U;
  if (++count_ == 1) wake();
  return true;
}

std::optional<NoFrame> FrameQueue::take(Frame& frame, std::size_t room) {
  if (count_ == 0) return ended_.value_or(NoFrame::kTimeout);
  Frame& slot = slots_[readIndex_];
  if (slot.format.imageBytes() > room) return NoFrame::kDoesNotFit;
  std::swap(frame.memory, slot.memory);
  frame.format = slot.format;
  frame.facts = slot.facts;
  readIndex_ ^= 1U;
  --count_;
  return std::nullopt;
}

std::optional<NoFrame> FrameQueue::pop(Frame& frame, std::size_t room, Wait wait) {
  std::unique_lock lock(mutex_);
  std::optional<NoFrame> missing = take(frame, room);
  if (!missing || missing == NoFrame::kDoesNotFit) return missing;
  if (wait ? isFinal(*missing) || wait->count() <= 0 : ended_.has_value()) return missing;

  std::optional<timespec> deadline;
  if (wait) deadline = toTimespec(std::chrono::steady_clock::now() + *wait);
  const unsigned endingsBefore = endings_;
  for (;;) {
    lock.unlock();
    const bool inTime = waitFor(events_, deadline);
    lock.lock();
    // An event can be older than this wait: then nothing is there yet.
    missing = take(frame, room);
    if (!missing || missing == NoFrame::kDoesNotFit || !inTime) return missing;
    if (endings_ != endingsBefore) return ended_.value_or(NoFrame::kStopped);
  }
}

bool FrameQueue::isUsable() const {
  const std::lock_guard lock(mutex_);
  return slots_[0].memory && slots_[1].memory;
}

}  // namespace orvik
