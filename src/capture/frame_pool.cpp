// SPDX-License-Identifier: MIT
#include "capture/frame_pool.h"

#include <utility>

namespace orvik {

FrameBuffer FramePool::take() {
  std::unique_ptr<PageBuffer> buffer;
  {
    const std::lock_guard lock(mutex_);
    if (!free_.empty()) {
      buffer = std::move(free_.back());
      free_.pop_back();
    }
  }
  if (!buffer) buffer = std::make_unique<PageBuffer>(frameBytes_);
  if (buffer->size() == 0) return nullptr;
  auto comesBack = [pool = weak_from_this()](PageBuffer* memory) {
    std::unique_ptr<PageBuffer> owned(memory);
    if (const auto home = pool.lock()) home->giveBack(std::move(owned));
  };
  return {buffer.release(), std::move(comesBack)};
}

void FramePool::open() {
  const std::lock_guard lock(mutex_);
  isOpen_ = true;
}

void FramePool::close() {
  std::vector<std::unique_ptr<PageBuffer>> unused;  // returned after the lock is released
  const std::lock_guard lock(mutex_);
  isOpen_ = false;
  unused.swap(free_);
}

void FramePool::giveBack(std::unique_ptr<PageBuffer> buffer) {
  const std::lock_guard lock(mutex_);
  if (isOpen_) free_.push_back(std::move(buffer));
}

}  // namespace orvik
