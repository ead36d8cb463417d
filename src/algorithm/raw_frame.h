// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>

namespace orvik {

/// A frame as it came from the camera, before anything was done to it.
struct RawFrame {
  const uint8_t* samples = nullptr;  ///< columns * rows of them, packed
  int columns = 0;
  int rows = 0;
  bool is16Bits = false;
  bool highByteFirst = false;  ///< of a 16-bit sample

  [[nodiscard]] size_t indexOf(int column, int row) const {
    return static_cast<size_t>(row) * static_cast<size_t>(columns) + static_cast<size_t>(column);
  }
  /// The upper 8 bits of a sample.
  [[nodiscard]] uint8_t upperByte(int column, int row) const {
    const size_t index = indexOf(column, row);
    if (!is16Bits) return samples[index];
    return samples[2 * index + (highByteFirst ? 0 : 1)];
  }
};

}  // namespace orvik
