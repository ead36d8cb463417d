// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace orvik::sim {

/// Writes the FPGA's marks into a frame, in the place of samples: seen as 16-bit little-endian
/// words, the frame begins with 0x5A7E and its sequence number, and ends with its sequence number
/// and 0x3CF0.
/// @param frame at least 8 bytes
inline void stampMarks(std::span<std::uint8_t> frame, std::uint16_t sequence) {
  const auto put = [&](std::size_t word, std::uint16_t value) {
    frame[2 * word] = static_cast<std::uint8_t>(value);
    frame[2 * word + 1] = static_cast<std::uint8_t>(value >> 8U);
  };
  const std::size_t words = frame.size() / 2;
  put(0, 0x5A7E);
  put(1, sequence);
  put(words - 2, sequence);
  put(words - 1, 0x3CF0);
}

}  // namespace orvik::sim
