// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

#include "base/page_buffer.h"

namespace orvik {

/// The memory for the frames of one camera. A buffer that is no longer referenced returns to the
/// pool and is reused, so that successive captures touch the same pages. Any thread.
class FramePool : public std::enable_shared_from_this<FramePool> {
 public:
  /// @param frameBytes of the camera's largest frame
  explicit FramePool(std::size_t frameBytes) : frameBytes_(frameBytes) {}

  /// @return null when there is no memory.
  FrameBuffer take();

 private:
  void giveBack(std::unique_ptr<PageBuffer> buffer);

  const std::size_t frameBytes_;
  std::mutex mutex_;
  std::vector<std::unique_ptr<PageBuffer>> free_;
};

}  // namespace orvik
