// SPDX-License-Identifier: MIT
#pragma once

namespace orvik {

/// The vertical blanking of the sensor: a frame takes this many line times more than it has rows.
inline constexpr int kBlankRows = 18;

/// Time of one line, microseconds; 0 before the clock is known. @param lineLength clock cycles
inline double lineTimeUs(int lineLength, int clockKhz) {
  return clockKhz > 0 ? lineLength * 1000.0 / clockKhz : 0;
}

/// Time of one frame, microseconds. @param lineLength clock cycles
inline double frameTimeUs(int rows, int lineLength, int clockKhz) {
  return static_cast<double>(rows + kBlankRows) * lineTimeUs(lineLength, clockKhz);
}

}  // namespace orvik
