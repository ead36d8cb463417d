// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>

#include "algorithm/white_balance.h"
#include "orvik/orvik.h"

namespace orvik {

/// The pattern that a mosaic shows after a flip: a horizontal flip swaps the columns of its cell, a
/// vertical flip the rows. `pattern` must be one of the four.
[[nodiscard]] constexpr BayerPattern flippedPattern(BayerPattern pattern, bool horizontal,
                                                    bool vertical) noexcept {
  // In this numbering, swapping columns exchanges 0 with 2 and 1 with 3, and swapping rows 0 with 3
  // and 1 with 2: each is one exclusive or.
  return static_cast<BayerPattern>(int{pattern} ^ (horizontal ? 2 : 0) ^ (vertical ? 3 : 0));
}

/// Turns a colour mosaic into a colour image, bilinearly inside and by replication in the border.
///
/// The frame is processed in cells of 2 x 2 pixels. In a border cell (first and last row and column
/// of cells) every pixel gets the red and blue of the cell, and the red and blue sites get the mean
/// of its two greens. Inside, a missing colour is the truncated mean of the nearest samples of that
/// colour. Then the gains of red and blue are applied.
///
/// @param raw width * height bytes
/// @param bgr receives 3 * width * height bytes: blue, green, red per pixel; must not overlap `raw`
/// @param pattern one of the four; any other value does nothing
/// @param width, height in pixels; should be even. Below 1 nothing is done. With an odd size the
///   last cell is cut off; it is a border cell and takes each missing sample from the nearest one
///   of the same colour inside the frame (from its neighbour if the frame is 1 pixel wide or high).
///   Nothing outside the two buffers is ever read or written.
/// @par Thread: any.
void demosaic(const std::uint8_t* raw, std::uint8_t* bgr, BayerPattern pattern, int width,
              int height, WhiteBalance balance) noexcept;

/// The same, one row of cells at a time, so that a colour image that is only an intermediate result
/// need not leave the processor's cache. The gains are fixed at construction.
class CellRowDemosaic {
 public:
  /// @param width, height of the frame, 1 or more
  CellRowDemosaic(BayerPattern pattern, int width, int height, WhiteBalance balance) noexcept;

  /// Rows of pixels in a row of cells: 2, or 1 in a last row that is cut off.
  [[nodiscard]] int rowsAt(int y) const noexcept { return y + 1 < height_ ? 2 : 1; }

  /// @param raw the whole frame
  /// @param y first row of the cells: even, below the height
  /// @param bgr receives 3 * width * rowsAt(y) bytes
  void make(const std::uint8_t* raw, int y, std::uint8_t* bgr) const noexcept {
    make_(*this, raw + std::ptrdiff_t{y} * width_, y, bgr);
  }

  /// Makes the luminance() of what make() gives. Inside the frame it is computed without the colour
  /// image in between.
  /// @param bgr memory as for make(), left with any contents
  /// @param out receives width * rowsAt(y) bytes
  void makeLuminance(const std::uint8_t* raw, int y, std::uint8_t* bgr,
                     std::uint8_t* out) const noexcept;

 private:
  struct Making;  ///< the routines for the patterns
  /// @param row the first pixel of row `y`
  using Make = void (*)(const CellRowDemosaic& self, const std::uint8_t* row, int y,
                        std::uint8_t* bgr);
  /// @return false if make() is needed: in rows at the border, with gains that need tables, and in
  ///   narrow frames
  using MakeLuminance = bool (*)(const CellRowDemosaic& self, const std::uint8_t* row, int y,
                                 std::uint8_t* bgr, std::uint8_t* out);

  [[nodiscard]] bool isBorder(int y) const { return y == 0 || y == (height_ - 1) / 2 * 2; }

  Make make_;
  MakeLuminance makeInnerLuminance_;
  int width_;
  int height_;
  WhiteBalance balance_;
  bool inVectors_;
  GainTables gains_;
};

}  // namespace orvik
