// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <span>

#include "base/page_buffer.h"

namespace orvik {

/// How many frames are averaged into a dark frame: the longer the exposure, the fewer, from 5 (up
/// to 100 ms) to 1 (from 776 ms on).
[[nodiscard]] int darkFrameCount(std::uint64_t exposureUs);

/// The recording of a dark frame: the sums of the frames so far. add() and finish() are for one
/// thread, queries for any.
class DarkRecording {
 public:
  /// @param pixels of the sensor
  /// @param frames 1 to 5
  DarkRecording(std::size_t pixels, int frames);

  /// Adds a frame of the whole sensor. Frames after the last one needed are ignored.
  void add(std::span<const std::uint8_t> frame);

  [[nodiscard]] int framesTaken() const { return taken_; }
  [[nodiscard]] int framesWanted() const { return wanted_; }
  [[nodiscard]] bool isComplete() const { return taken_ == wanted_; }

  /// Ends a complete recording and frees the memory of the sums.
  /// @param mean receives the truncated mean of the frames; as many bytes as a frame has
  void finish(std::span<std::uint8_t> mean);

 private:
  const int wanted_;
  std::atomic<int> taken_{0};
  std::unique_ptr<PageBuffer> sums_;  ///< 16 bits per pixel
};

}  // namespace orvik
