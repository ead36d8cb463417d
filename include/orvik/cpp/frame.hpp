// SPDX-License-Identifier: MIT
#pragma once

#include <bit>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>

#include "orvik/orvik_service.h"

namespace orvik {
inline namespace v0 {

/// @addtogroup cpp
/// @{

// The samples of 16-bit images are little-endian, and are handed on as native words.
static_assert(std::endian::native == std::endian::little);

/// Size, bin and type of an image, and where its region lies on the sensor.
struct ImageFormat {
  int width = 0;   ///< pixels after binning
  int height = 0;  ///< pixels after binning
  int bin = 1;
  IMG_TYPE type = Orvik_IMG_RAW8;
  int startX = 0;  ///< pixels after binning
  int startY = 0;  ///< pixels after binning
  friend bool operator==(const ImageFormat&, const ImageFormat&) = default;
};

/// Bytes of a pixel: 1 for RAW8 and Y8, 2 for RAW16, 3 for RGB24.
constexpr int bytesPerPixel(IMG_TYPE type) {
  if (type == Orvik_IMG_RGB24) return 3;
  return type == Orvik_IMG_RAW16 ? 2 : 1;
}

/// Bytes of an image.
constexpr std::size_t imageBytes(int width, int height, IMG_TYPE type) {
  return static_cast<std::size_t>(width) * static_cast<std::size_t>(height) *
         static_cast<std::size_t>(bytesPerPixel(type));
}

/// The facts about one image, with their times as those of std::chrono.
struct FrameInfo : Orvik_FRAME_INFO {
  FrameInfo() : Orvik_FRAME_INFO{} {}
  FrameInfo(const Orvik_FRAME_INFO& info) : Orvik_FRAME_INFO(info) {}  // NOLINT: adds no facts

  /// Start of the exposure, UTC.
  [[nodiscard]] std::chrono::system_clock::time_point start() const {
    const std::chrono::nanoseconds sinceEpoch(exposureStart + utcOffset);
    return std::chrono::system_clock::time_point(
        std::chrono::duration_cast<std::chrono::system_clock::duration>(sinceEpoch));
  }
  [[nodiscard]] std::chrono::microseconds exposure() const {
    return std::chrono::microseconds(exposureUs);
  }
  /// Temperature of the sensor, degrees Celsius; empty if the last reading is too old.
  [[nodiscard]] std::optional<double> celsius() const {
    if (temperature == ORVIK_NO_TEMPERATURE) return std::nullopt;
    return temperature / 10.0;
  }
  [[nodiscard]] std::size_t bytes() const { return imageBytes(width, height, type); }
};

/// Colours of the top left 2 x 2 pixels of a raw image whose region begins at a sensor pixel.
///
/// An odd start shifts the pattern by a column or row; a flip brings the last column or row to the
/// front. Binning adds pixels of like colour, and a binned region begins on a whole 2 x 2 cell, so
/// that the order of the colours remains.
///
/// @param sensor colours at the sensor's top left
/// @param image width, height, bin and startX, startY (sensor pixels) of the image
/// @param flip in the values of #Orvik_CTL_FLIP
constexpr BayerPattern imageMosaic(BayerPattern sensor, int flip, int bin, int startX, int startY,
                                   int width, int height) {
  int column = bin == 1 ? startX : 0;
  int row = bin == 1 ? startY : 0;
  if ((flip & 1) != 0) column += width - 1;
  if ((flip & 2) != 0) row += height - 1;
  // Red lies at the right in the patterns BG and GR, and at the bottom in BG and GB.
  if (sensor == BAYER_BG || sensor == BAYER_GR) ++column;
  if (sensor == BAYER_BG || sensor == BAYER_GB) ++row;
  const bool right = column % 2 != 0;
  const bool bottom = row % 2 != 0;
  if (right) return bottom ? BAYER_BG : BAYER_GR;
  return bottom ? BAYER_GB : BAYER_RG;
}

/// The same of an image that was delivered; empty for a monochrome camera, and for an image that is
/// not raw.
constexpr std::optional<BayerPattern> imageMosaic(const Orvik_CAMERA_INFO& camera,
                                                  const Orvik_FRAME_INFO& image) {
  const bool isRaw = image.type == Orvik_IMG_RAW8 || image.type == Orvik_IMG_RAW16;
  if (camera.colour != Orvik_TRUE || !isRaw) return std::nullopt;
  return imageMosaic(camera.bayer, image.flip, image.bin, image.startX, image.startY, image.width,
                     image.height);
}

/// An image with its facts. It owns its memory, which is used again when the next image is read
/// into it; memory that no image has reached costs nothing.
class Frame {
 public:
  /// Rows are packed, the top row first; 16-bit samples are little-endian, colour is blue, green,
  /// red.
  [[nodiscard]] std::span<const std::uint8_t> bytes() const { return {memory_.get(), size_}; }
  [[nodiscard]] std::span<std::uint8_t> bytes() { return {memory_.get(), size_}; }
  /// The samples of a RAW16 image.
  [[nodiscard]] std::span<const std::uint16_t> words() const {
    return {reinterpret_cast<const std::uint16_t*>(memory_.get()), size_ / 2};
  }
  [[nodiscard]] const FrameInfo& info() const { return info_; }
  [[nodiscard]] bool isEmpty() const { return size_ == 0; }

  /// For readers: memory of at least so many bytes. The present image is lost if it has less.
  std::span<std::uint8_t> reserve(std::size_t bytes) {
    if (bytes > capacity_) {
      size_ = 0;
      memory_ = std::make_unique_for_overwrite<std::uint8_t[]>(bytes);
      capacity_ = bytes;
    }
    return {memory_.get(), capacity_};
  }
  /// For readers: an image with these facts is in the memory.
  void filled(const FrameInfo& info) {
    info_ = info;
    size_ = info.bytes() <= capacity_ ? info.bytes() : 0;
  }

 private:
  std::unique_ptr<std::uint8_t[]> memory_;
  std::size_t capacity_ = 0;
  std::size_t size_ = 0;
  FrameInfo info_;
};

/// @}

}  // namespace v0
}  // namespace orvik
