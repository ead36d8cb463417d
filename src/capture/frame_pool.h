// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

#include "base/page_buffer.h"

namespace orvik {

/// The memory for frames of one camera. A buffer that nobody holds any more comes back and is given
/// out again, so that captures one after the other touch the same pages. Any thread.
class FramePool : public std::enable_shared_from_this<FramePool> {
 public:
  /// @param frameBytes of the camera's largest frame
  explicit FramePool(std::size_t frameBytes) : frameBytes_(frameBytes) {}

  /// @return null when there is no memory to be had.
  FrameBuffer take();

 private:
  void giveBack(std::unique_ptr<PageBuffer> buffer);

  const std::size_t frameBytes_;
  std::mutex mutex_;
  std::vector<std::unique_ptr<PageBuffer>> free_;
};

}  // namespace orvik
