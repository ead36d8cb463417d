// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "algorithm/white_balance.h"

namespace orvik {

/// A run of whole cells in one row of cells, none of which touches the frame's border.
struct CellRun {
  const std::uint8_t* raw;  ///< top left pixel of the first cell
  std::uint8_t* out;        ///< the same pixel in the result, whose rows are as many pixels
  int width;                ///< of the frame, pixels
  int columns;              ///< of the run, pixels: even
  int redX;                 ///< column and row, 0 or 1, of a cell's red site
  int redY;
};

/// Interpolates a run, 3 bytes for each pixel, with the widest vectors of this processor. The
/// result is identical to that of the workers in bayer_cell.h.
/// @param balance gains from 1 to 99
/// @return false, with nothing done, when the run is too narrow for a vector.
bool demosaicRun(const CellRun& run, WhiteBalance balance) noexcept;

/// Makes one byte of luminance() for each pixel, as if it was called for the result of
/// demosaicRun().
bool mosaicLuminanceRun(const CellRun& run, WhiteBalance balance) noexcept;

}  // namespace orvik
