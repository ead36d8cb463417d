// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "sim/frame_settings.h"

namespace orvik::sim {

/// Writes a number in the place of a sample, lowest byte first.
inline void putWord(std::span<std::uint8_t> bytes, std::size_t at, std::uint16_t value) {
  bytes[at] = static_cast<std::uint8_t>(value);
  bytes[at + 1] = static_cast<std::uint8_t>(value >> 8U);
}

/// Writes the marks at the beginning of a frame, in the place of samples.
/// @param begin at least bytesOf(marks) bytes
inline void stampHead(Marks marks, std::span<std::uint8_t> begin, std::uint16_t sequence) {
  if (marks == Marks::kTrailer) return;
  putWord(begin, 0, 0x5A7E);
  putWord(begin, 2, sequence);
}

/// Writes the marks at the end of a frame.
/// @param end its last bytes, at least bytesOf(marks)
inline void stampTail(Marks marks, std::span<std::uint8_t> end, std::uint16_t sequence) {
  if (marks == Marks::kTrailer) {
    putWord(end, end.size() - 4, 0xAA11);
    putWord(end, end.size() - 2, 0xBB00);
    return;
  }
  const std::size_t words = end.size() / 2;
  putWord(end, 2 * (words - 2), sequence);
  putWord(end, 2 * (words - 1), 0x3CF0);
}

/// Writes all marks of a frame.
inline void stampMarks(Marks marks, std::span<std::uint8_t> frame, std::uint16_t sequence) {
  stampHead(marks, frame, sequence);
  stampTail(marks, frame, sequence);
}

}  // namespace orvik::sim
