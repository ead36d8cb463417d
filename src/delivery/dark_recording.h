// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <span>

#include "base/page_buffer.h"

namespace orvik {

/// How many frames are averaged into a dark: the longer the exposure, the fewer, from 5 (up to
/// 100 ms) to 1 (from 776 ms on).
[[nodiscard]] int darkFrameCount(std::uint64_t exposureUs);

/// A dark frame that is being taken: the sums of the frames so far. One thread adds; any may ask.
class DarkRecording {
 public:
  /// @param pixels of the sensor
  /// @param frames 1 to 5
  DarkRecording(std::size_t pixels, int frames);

  /// Adds a frame of the whole sensor. Frames beyond the last one wanted are not added.
  void add(std::span<const std::uint8_t> frame);

  [[nodiscard]] int framesTaken() const { return taken_; }
  [[nodiscard]] int framesWanted() const { return wanted_; }
  [[nodiscard]] bool isComplete() const { return taken_ == wanted_; }

  /// Ends a complete recording, on the thread that adds: gives the sums' memory back.
  /// @param mean receives the mean of the frames, truncated; as many bytes as a frame has
  void finish(std::span<std::uint8_t> mean);

 private:
  const int wanted_;
  std::atomic<int> taken_{0};
  std::unique_ptr<PageBuffer> sums_;  ///< 16 bits a pixel
};

}  // namespace orvik
