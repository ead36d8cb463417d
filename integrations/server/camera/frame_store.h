// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <memory>

#include "orvik/orvik.hpp"

namespace orvik::server {

/// A frame that several threads may look at. It goes back to its store with the last of them.
using SharedFrame = std::shared_ptr<const Frame>;

/// A bounded number of frames whose memory is used again. Any thread.
class FrameStore {
 public:
  /// @param frames how many can be in use at a time
  explicit FrameStore(std::size_t frames);

  /// A frame to fill; null while all are in use.
  std::shared_ptr<Frame> take();
  /// Frees the memory of all frames that are not in use.
  void trim();

 private:
  struct Shelf;
  std::shared_ptr<Shelf> shelf_;
};

}  // namespace orvik::server
