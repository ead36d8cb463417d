// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "imaging/view/image_source.h"

namespace orvik::imaging {

/// Finds the brightest thing in an image, a planet or a star, fast enough for each frame of a
/// video. Its memory is used again.
///
/// It looks at a plane of cells, the sums of a few pixels each. What stands out of the background
/// by a third of the highest cell falls into connected parts, and the one with the most light is
/// it. A hot pixel is none: light always falls on several pixels.
class BrightestObject {
 public:
  /// Its centre, weighted by brightness; pixels from the left and top edges of the image.
  struct Place {
    double x = 0;
    double y = 0;
    double flux = 0;  ///< sum of its samples above the background
  };

  /// @return nothing if nothing stands out
  std::optional<Place> find(const ImageSource& image);

 private:
  struct Part {
    double flux = 0;
    double x = 0;  ///< sum of x times flux, in cells
    double y = 0;
  };

  void makeCells(const ImageSource& image);
  template <typename Sample>
  void addRow(const Sample* samples);
  [[nodiscard]] bool measureBackground();
  void putOutHotPixels(const ImageSource& image, std::uint32_t lowest);
  [[nodiscard]] bool hasOneBrightPixel(const ImageSource& image, std::size_t cell) const;
  [[nodiscard]] Part partAt(int start, std::uint32_t threshold);

  int step_ = 2;  // pixels of a cell in each direction
  Size size_;     // in cells
  std::vector<std::uint32_t> columns_;
  std::vector<std::uint32_t> cells_;
  std::vector<std::uint32_t> sample_;
  std::vector<std::uint8_t> isSeen_;
  std::vector<int> border_;
  std::uint32_t level_ = 0;  // of the background, in a cell
  std::uint32_t noise_ = 0;
  std::uint32_t smallestNoise_ = 0;
};

}  // namespace orvik::imaging
