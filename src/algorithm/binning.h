// SPDX-License-Identifier: MIT
/// Binning on the host, from a full-size frame to an image, which may be the start of the frame
/// itself and must not overlap it in any other way.
///
/// `width` and `height` are those of the image; the frame has width * bin samples per row and
/// height * bin rows. With a bin below 2, or a width or height below 1, nothing is done. Every
/// function may be called from any thread.
#pragma once

#include <cstdint>

namespace orvik {

/// Sums each block of bin x bin samples, at most 255: binning brightens an 8-bit image.
void binMono(const std::uint8_t* frame, std::uint8_t* image, int width, int height,
             int bin) noexcept;

/// The truncated mean of each block of bin x bin samples.
void binMono(const std::uint16_t* frame, std::uint16_t* image, int width, int height,
             int bin) noexcept;

/// Sums, at most 255, bin x bin samples of one colour, so that the result is a mosaic of the same
/// pattern: each 2 x 2 cell of the result comes from 2 bin x 2 bin samples.
///
/// Width and height should be even. With an odd size, the last cells of the result need samples
/// beyond the frame; the last sample of the same colour in the row or column is used instead.
void binMosaic(const std::uint8_t* frame, std::uint8_t* image, int width, int height,
               int bin) noexcept;

/// As for 8 bits, but each sample is first divided by bin * bin and truncated; binMono() divides
/// the sum instead.
void binMosaic(const std::uint16_t* frame, std::uint16_t* image, int width, int height,
               int bin) noexcept;

/// In place.
inline void binMono(std::uint8_t* image, int width, int height, int bin) noexcept {
  binMono(image, image, width, height, bin);
}
inline void binMono(std::uint16_t* image, int width, int height, int bin) noexcept {
  binMono(image, image, width, height, bin);
}
inline void binMosaic(std::uint8_t* image, int width, int height, int bin) noexcept {
  binMosaic(image, image, width, height, bin);
}
inline void binMosaic(std::uint16_t* image, int width, int height, int bin) noexcept {
  binMosaic(image, image, width, height, bin);
}

}  // namespace orvik
