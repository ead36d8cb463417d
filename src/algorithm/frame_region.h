// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

namespace orvik {

/// The sensor pixels that the samples of a frame are made of.
///
/// The camera may combine bin x bin pixels into one sample. With a colour mosaic it combines pixels
/// of one colour, so that the frame is a mosaic of the same pattern: a cell of 2 x 2 samples comes
/// from 2 bin x 2 bin pixels, and the pixels of one sample lie two apart.
struct FrameRegion {
  int x = 0;           ///< left edge, sensor pixels
  int y = 0;           ///< top edge, sensor pixels
  int columns = 0;     ///< samples in a row of the frame
  int rows = 0;        ///< rows of the frame
  int bin = 1;         ///< pixels per side of a sample; also 1 if the host bins later
  int colourStep = 1;  ///< distance between pixels of one colour: 2 with a mosaic, else 1

  [[nodiscard]] std::size_t samples() const {
    return static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows);
  }

  /// The first pixel of sample `at` along one axis, counted from the edge of the region. The others
  /// follow, colourStep apart.
  [[nodiscard]] int firstPixel(int at) const {
    return at / colourStep * colourStep * bin + at % colourStep;
  }
  /// The sample along one axis that contains pixel `at`, counted from the edge of the region.
  [[nodiscard]] int sampleOf(int at) const {
    return at / (colourStep * bin) * colourStep + at % colourStep;
  }

  friend bool operator==(const FrameRegion&, const FrameRegion&) = default;
};

}  // namespace orvik
