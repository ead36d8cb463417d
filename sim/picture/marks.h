// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "sim/frame_settings.h"

namespace orvik::sim {

/// Writes the marks into a frame, in the place of samples. All numbers stand lowest byte first.
/// @param frame at least bytesOf(marks) bytes
inline void stampMarks(Marks marks, std::span<std::uint8_t> frame, std::uint16_t sequence) {
  const auto put = [&](std::size_t at, std::uint16_t value) {
    frame[at] = static_cast<std::uint8_t>(value);
    frame[at + 1] = static_cast<std::uint8_t>(value >> 8U);
  };
  if (marks == Marks::kTrailer) {
    put(frame.size() - 4, 0xAA11);
    put(frame.size() - 2, 0xBB00);
    return;
  }
  const std::size_t words = frame.size() / 2;
  put(0, 0x5A7E);
  put(2, sequence);
  put(2 * (words - 2), sequence);
  put(2 * (words - 1), 0x3CF0);
}

}  // namespace orvik::sim
