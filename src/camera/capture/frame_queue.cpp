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

}  // namespace

FrameQueue::FrameQueue(std::size_t frameBytes)
    : slots_{std::make_shared<PageBuffer>(frameBytes), std::make_shared<PageBuffer>(frameBytes)} {
  sem_init(&arrivals_, 0, 0);
}

FrameQueue::~FrameQueue() { sem_destroy(&arrivals_); }

bool FrameQueue::push(FrameBuffer& frame) {
  const std::lock_guard lock(mutex_);
  if (count_ == slots_.size()) return false;
  std::swap(frame, slots_[writeIndex_]);
  writeIndex_ ^= 1U;
  if (++count_ == 1) sem_post(&arrivals_);
  return true;
}

bool FrameQueue::take(FrameBuffer& frame) {
  const std::lock_guard lock(mutex_);
  if (count_ == 0) return false;
  std::swap(frame, slots_[readIndex_]);
  readIndex_ ^= 1U;
  --count_;
  return true;
}

bool FrameQueue::pop(FrameBuffer& frame, Wait wait) {
  const unsigned closingsBefore = closings();
  if (take(frame)) return true;
  if (wait ? wait->count() <= 0 : !isOpen()) return false;

  std::optional<timespec> deadline;
  if (wait) deadline = toTimespec(std::chrono::steady_clock::now() + *wait);
  // A post can be older than this wait: its frame was taken without waiting, or cleared.
  while (waitFor(arrivals_, deadline)) {
    if (take(frame)) return true;
    if (closings() != closingsBefore) return false;
  }
  return false;
}

void FrameQueue::clear() {
  const std::lock_guard lock(mutex_);
  readIndex_ = writeIndex_ = count_ = 0;
}

void FrameQueue::open() {
  const std::lock_guard lock(mutex_);
  open_ = true;
}

void FrameQueue::close() {
  const std::lock_guard lock(mutex_);
  if (!open_) return;
  open_ = false;
  ++closings_;
  sem_post(&arrivals_);
}

bool FrameQueue::isOpen() const {
  const std::lock_guard lock(mutex_);
  return open_;
}

unsigned FrameQueue::closings() const {
  const std::lock_guard lock(mutex_);
  return closings_;
}

bool FrameQueue::isUsable() const {
  const std::lock_guard lock(mutex_);
  return slots_[0]->size() != 0 && slots_[1]->size() != 0;
}

}  // namespace orvik
