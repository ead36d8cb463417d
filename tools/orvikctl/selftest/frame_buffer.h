// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "orvik/orvik.hpp"

namespace orvik::ctl::selftest {

/// A buffer for one frame that shows what was written into it: it is filled with a pattern, and
/// some bytes of the pattern stand behind its end.
class FrameBuffer {
 public:
  explicit FrameBuffer(const ImageFormat& format);

  std::uint8_t* data() { return bytes_.data(); }
  /// Bytes of the frame.
  [[nodiscard]] std::int32_t size() const { return static_cast<std::int32_t>(size_); }
  [[nodiscard]] const ImageFormat& format() const { return format_; }

  /// Fills it with the pattern again.
  void clear();

  /// Throws a CheckFailure unless each row was written, and nothing behind the last one.
  void expectWritten() const;
  /// Throws a CheckFailure if anything was written. @param when as "after a timeout"
  void expectUntouched(const std::string& when) const;

  /// Mean of the samples: 0 to 255, of 16-bit images 0 to 65535.
  [[nodiscard]] double mean() const;

 private:
  ImageFormat format_;
  std::size_t size_;
  std::vector<std::uint8_t> bytes_;
};

}  // namespace orvik::ctl::selftest
