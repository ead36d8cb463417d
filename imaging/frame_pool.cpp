// SPDX-License-Identifier: MIT
#include "imaging/frame_pool.h"

#include <algorithm>

namespace orvik::imaging {
namespace {

/// No camera sends faster, so that in this time no frame is lost.
constexpr std::size_t kBytesPerMicrosecond = 400;

}  // namespace

FramePool::FramePool(std::size_t frameBytes, std::size_t memoryBytes)
    : patience_(frameBytes / kBytesPerMicrosecond) {
  constexpr std::size_t kMostFrames = 4096;
  const std::size_t count =
      std::clamp<std::size_t>(memoryBytes / std::max<std::size_t>(frameBytes, 1), 2, kMostFrames);
  frames_.resize(count);
  for (Frame& frame : frames_) free_.push_back(&frame);
  unused_ = count;
}

Frame* FramePool::acquire() {
  std::unique_lock lock(mutex_);
  const auto hasUsed = [this] { return free_.size() > unused_; };
  if (!hasUsed() && unused_ > 0 && unused_ < frames_.size()) {
    changed_.wait_for(lock, patience_, [&] { return closed_ || hasUsed(); });
  }
  if (free_.empty()) timesFull_.fetch_add(1, std::memory_order_relaxed);
  changed_.wait(lock, [this] { return closed_ || !free_.empty(); });
  if (closed_) return nullptr;
  Frame* frame = free_.back();
  free_.pop_back();
  unused_ = std::min(unused_, free_.size());
  const std::size_t used = frames_.size() - free_.size();
  if (used > mostUsed_) mostUsed_.store(used, std::memory_order_relaxed);
  return frame;
}

void FramePool::publish(Frame* frame) {
  const std::lock_guard lock(mutex_);
  filled_.push_back(frame);
  changed_.notify_all();
}

void FramePool::giveBack(Frame* frame) {
  const std::lock_guard lock(mutex_);
  free_.push_back(frame);
  changed_.notify_all();
}

void FramePool::end() {
  const std::lock_guard lock(mutex_);
  ended_ = true;
  changed_.notify_all();
}

FramePool::Taken FramePool::take(Frame*& frame, std::chrono::milliseconds wait) {
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

}  // namespace orvik::imaging
