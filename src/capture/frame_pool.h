// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

#include "base/page_buffer.h"

namespace orvik {

/// The memory for the frames of one camera. While a capture runs, a buffer that is no longer
/// referenced returns to the pool, and the one that returned last is used again first: only as many
/// get pages as are in use at the same time, and these stay in the processor's caches. Otherwise
/// such a buffer returns to the system. Any thread.
class FramePool : public std::enable_shared_from_this<FramePool> {
 public:
  /// @param frameBytes of the camera's largest frame
  explicit FramePool(std::size_t frameBytes) : frameBytes_(frameBytes) {}

  /// @return null when there is no memory.
  FrameBuffer take();

  /// A capture begins: buffers are kept from now on.
  void open();
  /// It has ended: what is unused returns to the system now, the rest when it is no longer used.
  void close();

 private:
  void giveBack(std::unique_ptr<PageBuffer> buffer);

  const std::size_t frameBytes_;
  std::mutex mutex_;
  bool isOpen_ = false;
  std::vector<std::unique_ptr<PageBuffer>> free_;
};

}  // namespace orvik
