// SPDX-License-Identifier: MIT
#include "tools/orvikctl/frame_pool.h"

#include <algorithm>

namespace orvik::ctl {

FramePool::FramePool(std::size_t frameBytes, std::size_t memoryBytes) {
  constexpr std::size_t kMostFrames = 4096;
  const std::size_t count =
      std::clamp<std::size_t>(memoryBytes / std::max<std::size_t>(frameBytes, 1), 2, kMostFrames);
  // Left unfilled: pages that no frame reaches cost no memory.
  memory_ = std::make_unique_for_overwrite<std::uint8_t[]>(count * frameBytes);
  frames_.resize(count);
  for (std::size_t i = 0; i < count; ++i) {
    frames_[i].pixels = {memory_.get() + i * frameBytes, frameBytes};
    free_.push_back(&frames_[i]);
  }
}

PooledFrame* FramePool::acquire() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return closed_ || !free_.empty(); });
  if (closed_) return nullptr;
  PooledFrame* frame = free_.back();
  free_.pop_back();
  return frame;
}

void FramePool::publish(PooledFrame* frame) {
  const std::lock_guard lock(mutex_);
  filled_.push_back(frame);
  changed_.notify_all();
}

void FramePool::giveBack(PooledFrame* frame) {
  const std::lock_guard lock(mutex_);
  free_.push_back(frame);
  changed_.notify_all();
}

void FramePool::end() {
  const std::lock_guard lock(mutex_);
  ended_ = true;
  changed_.notify_all();
}

FramePool::Taken FramePool::take(PooledFrame*& frame, std::chrono::milliseconds wait) {
  std::unique_lock lock(mutex_);
  if (!changed_.wait_for(lock, wait, [this] { return ended_ || !filled_.empty(); })) {
    return Taken::kNothingYet;
  }
  if (filled_.empty()) return Taken::kEnd;
  frame = filled_.front();
  filled_.pop_front();
  return Taken::kFrame;
}

void FramePool::close() {
  const std::lock_guard lock(mutex_);
  closed_ = true;
  changed_.notify_all();
}

}  // namespace orvik::ctl
