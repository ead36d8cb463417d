// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>

namespace orvik {

/// A frame as it came from the camera, before any processing.
struct RawFrame {
  const std::uint8_t* samples = nullptr;  ///< columns * rows of them, packed
  int columns = 0;
  int rows = 0;
  bool is16Bits = false;
  bool highByteFirst = false;  ///< 16-bit samples are big-endian

  [[nodiscard]] std::size_t indexOf(int column, int row) const {
    return static_cast<std::size_t>(row) * static_cast<std::size_t>(columns) +
           static_cast<std::size_t>(column);
  }
  /// The upper 8 bits of a sample.
  [[nodiscard]] std::uint8_t upperByte(int column, int row) const {
    const std::size_t index = indexOf(column, row);
    if (!is16Bits) return samples[index];
    return samples[2 * index + (highByteFirst ? 0 : 1)];
  }
};

}  // namespace orvik
