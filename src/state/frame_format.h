// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>

#include "algorithm/frame_region.h"
#include "state/image_type.h"

namespace orvik {

/// The size and layout of the frames of one capture, and of the images that are made from them. The
/// format of a capture is constant, and each of its frames has a copy of it.
struct FrameFormat {
  int width = 0;   ///< of the image, pixels after binning
  int height = 0;  ///< of the image, pixels after binning
  int bin = 1;
  bool hardwareBin = false;  ///< the camera bins; otherwise the host
  bool is16Bits = false;     ///< samples on the wire have 2 bytes
  bool rawOutput = false;    ///< an 8-bit image shows the mosaic; otherwise the luminance
  IMAGE_TYPE type = IMAGE_8BIT;

  /// The bin factor that the host applies.
  [[nodiscard]] int hostBin() const { return hardwareBin ? 1 : bin; }
  /// The bin factor of the samples on the wire.
  [[nodiscard]] int cameraBin() const { return hardwareBin ? bin : 1; }
  /// Columns and rows of a frame on the wire.
  [[nodiscard]] int columns() const { return width * hostBin(); }
  [[nodiscard]] int rows() const { return height * hostBin(); }
  [[nodiscard]] std::size_t samples() const {
    return static_cast<std::size_t>(columns()) * static_cast<std::size_t>(rows());
  }
  [[nodiscard]] std::size_t bytesPerSample() const { return is16Bits ? 2 : 1; }
  [[nodiscard]] std::size_t rowBytes() const {
    return static_cast<std::size_t>(columns()) * bytesPerSample();
  }
  /// Bytes of a frame on the wire.
  [[nodiscard]] std::size_t frameBytes() const { return samples() * bytesPerSample(); }

  /// Pixels and bytes of a delivered image.
  [[nodiscard]] std::size_t pixels() const {
    return static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  }
  [[nodiscard]] std::size_t imageBytes() const { return pixels() * rowOf(type).bytesPerPixel; }

  /// The sensor pixels that a frame shows. @param x, y left and top edge, sensor pixels
  [[nodiscard]] FrameRegion regionAt(int x, int y, bool hasMosaic) const {
    return {.x = x,
            .y = y,
            .columns = columns(),
            .rows = rows(),
            .bin = cameraBin(),
            .colourStep = hasMosaic ? 2 : 1};
  }

  friend bool operator==(const FrameFormat&, const FrameFormat&) = default;
};

}  // namespace orvik
