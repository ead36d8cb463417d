// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "orvik/orvik.hpp"

namespace orvik::imaging {

/// Width and height, pixels.
struct Size {
  int width = 0;
  int height = 0;
  friend bool operator==(const Size&, const Size&) = default;
};

/// A part of an image, in its pixels.
struct Window {
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;
  friend bool operator==(const Window&, const Window&) = default;
};

/// The pixels of a frame. They are not owned.
struct ImageSource {
  std::span<const std::uint8_t> pixels;
  Size size;
  IMG_TYPE type = Orvik_IMG_RAW8;
  std::optional<BayerPattern> mosaic;  ///< colours of the top left 2 x 2 pixels
  /// Whether the samples of an RGB24 image have 16 bits. No camera delivers this, but files of
  /// other programs hold such images.
  bool wideColour = false;

  [[nodiscard]] bool isWide() const { return type == Orvik_IMG_RAW16 || wideColour; }
  [[nodiscard]] bool isColour() const { return mosaic.has_value() || type == Orvik_IMG_RGB24; }
  /// The largest value of a sample.
  [[nodiscard]] int depth() const { return isWide() ? 65535 : 255; }
  /// 1, or 3 for blue, green and red.
  [[nodiscard]] int samplesPerPixel() const { return type == Orvik_IMG_RGB24 ? 3 : 1; }
  /// A row of 8-bit samples.
  [[nodiscard]] const std::uint8_t* row8(int y) const { return pixels.data() + sampleIndex(y); }
  /// A row of 16-bit samples.
  [[nodiscard]] const std::uint16_t* row16(int y) const {
    return reinterpret_cast<const std::uint16_t*>(pixels.data()) + sampleIndex(y);
  }

 private:
  [[nodiscard]] std::size_t sampleIndex(int y) const {
    return static_cast<std::size_t>(y) * static_cast<std::size_t>(size.width) *
           static_cast<std::size_t>(samplesPerPixel());
  }
};

/// The image of a frame, which has to outlive it.
inline ImageSource sourceOf(const Frame& frame, const Orvik_CAMERA_INFO& camera) {
  const FrameInfo& info = frame.info();
  return {frame.bytes(), {info.width, info.height}, info.type, imageMosaic(camera, info)};
}

/// Where red lies in the 2 x 2 cell of a mosaic. Blue lies across from it.
struct RedSite {
  int x = 0;
  int y = 0;
};
constexpr RedSite redSite(BayerPattern pattern) {
  return {pattern == BAYER_BG || pattern == BAYER_GR ? 1 : 0,
          pattern == BAYER_BG || pattern == BAYER_GB ? 1 : 0};
}

}  // namespace orvik::imaging
