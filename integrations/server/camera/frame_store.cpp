// SPDX-License-Identifier: MIT
#include "integrations/server/camera/frame_store.h"

#include <mutex>
#include <utility>
#include <vector>

namespace orvik::server {

/// Shared with the frames that are in use, which may outlive the store.
struct FrameStore::Shelf {
  std::mutex mutex;
  std::vector<std::unique_ptr<Frame>> free;  // the one that came back last is taken next
  std::size_t inUse = 0;
  std::size_t limit = 0;

  void giveBack(std::unique_ptr<Frame> frame) {
    const std::scoped_lock lock(mutex);
    --inUse;
    if (inUse + free.size() < limit) free.push_back(std::move(frame));
  }
};

FrameStore::FrameStore(std::size_t frames) : shelf_(std::make_shared<Shelf>()) {
  shelf_->limit = frames;
}

std::shared_ptr<Frame> FrameStore::take() {
  std::unique_ptr<Frame> frame;
  {
    const std::scoped_lock lock(shelf_->mutex);
    if (shelf_->inUse >= shelf_->limit) return nullptr;
    ++shelf_->inUse;
    if (!shelf_->free.empty()) {
      frame = std::move(shelf_->free.back());
      shelf_->free.pop_back();
    }
  }
  if (frame == nullptr) frame = std::make_unique<Frame>();
  return {frame.release(),
          [shelf = shelf_](Frame* used) { shelf->giveBack(std::unique_ptr<Frame>(used)); }};
}

void FrameStore::trim() {
  const std::scoped_lock lock(shelf_->mutex);
  shelf_->free.clear();
}

}  // namespace orvik::server
