// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace orvik {

/// Page-aligned memory that reads as zero and costs nothing until it is touched. So a camera object
/// can reserve a buffer for a full-size frame when it is made, long before any capture.
class PageBuffer {
 public:
  /// Reserves `bytes` of address space. The buffer is empty when the system refuses.
  explicit PageBuffer(std::size_t bytes);
  ~PageBuffer();
  PageBuffer(const PageBuffer&) = delete;
  PageBuffer& operator=(const PageBuffer&) = delete;

  [[nodiscard]] std::uint8_t* data() const { return data_; }
  [[nodiscard]] std::size_t size() const { return size_; }
  [[nodiscard]] std::span<std::uint8_t> bytes() const { return {data_, size_}; }
  /// The buffer as 16-bit samples.
  [[nodiscard]] std::uint16_t* words() const { return static_cast<std::uint16_t*>(memory_); }

 private:
  void* memory_ = nullptr;
  std::uint8_t* data_ = nullptr;
  std::size_t size_ = 0;
};

/// The memory of a frame. Frames are passed on by exchanging these pointers, not by copying.
using FrameBuffer = std::shared_ptr<PageBuffer>;

/// Memory for the frame that arrives and for the one that follows it. Shared, so that the next
/// capture sees the buffers that the previous one exchanged: no buffer ever has two users.
using FramePair = std::array<FrameBuffer, 2>;

}  // namespace orvik
