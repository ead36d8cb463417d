// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <vector>

#include "imaging/view/image_source.h"

namespace orvik::imaging {

/// The brightness of an image without colours, of a size that can be searched quickly, with its
/// background. Its memory is used again.
class StarPlane {
 public:
  static constexpr int kBlock = 32;

  void make(const ImageSource& image);

  [[nodiscard]] Size size() const { return size_; }
  /// Pixels of the image that one of the plane is made of, in each direction.
  [[nodiscard]] int step() const { return step_; }
  [[nodiscard]] const std::uint16_t* row(int y) const {
    return pixels_.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(size_.width);
  }
  /// Level and standard deviation of the background in a block of 32 x 32 pixels.
  struct Background {
    float level = 0;
    float noise = 0;
  };
  [[nodiscard]] Background background(int x, int y) const {
    return blocks_[static_cast<std::size_t>(y / kBlock) * static_cast<std::size_t>(columns_) +
                   static_cast<std::size_t>(x / kBlock)];
  }

  /// Level of the sky in the whole image, as far as it shows any; the unit of a sample.
  [[nodiscard]] double sky() const { return sky_; }

 private:
  void addRow(const ImageSource& image, int y);
  void measureBackground();
  [[nodiscard]] Background measureBlock(int left, int top);

  Size size_;
  int step_ = 1;
  int columns_ = 0;
  float smallestNoise_ = 0;
  double sky_ = 0;
  std::vector<std::uint16_t> pixels_;
  std::vector<std::uint32_t> sums_;
  std::vector<std::uint16_t> sample_;
  std::vector<Background> measured_;
  std::vector<Background> blocks_;
};

/// Brightness of a pixel of an image: a sample; the mean of the cell of a mosaic at twice the
/// position; or the mean of three colours.
float luminance(const ImageSource& image, int x, int y);

/// Samples in each direction that luminance() makes one of.
inline int luminanceStep(const ImageSource& image) { return image.mosaic ? 2 : 1; }

}  // namespace orvik::imaging
