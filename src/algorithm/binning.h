// SPDX-License-Identifier: MIT
/// Binning on the host, in place: the result overwrites the start of the full-size frame.
///
/// `width` and `height` are those of the result; the frame has width * bin samples per row and
/// height * bin rows. A bin below 2, or a width or height below 1, does nothing. Every function may
/// be called from any thread.
#pragma once

#include <cstdint>

namespace orvik {

/// Sums each block of bin x bin samples, at most 255: binning brightens an 8-bit image.
void binMono(uint8_t* image, int width, int height, int bin) noexcept;

/// The truncated mean of each block of bin x bin samples.
void binMono(uint16_t* image, int width, int height, int bin) noexcept;

/// Sums, at most 255, bin x bin samples of one colour, so that the result is a mosaic of the same
/// pattern: each 2 x 2 cell of the result comes from 2 bin x 2 bin samples.
///
/// Width and height are expected even. At an odd size the last cells of the result want samples
/// beyond the frame; the last sample of the same colour in the row or column stands in for them.
void binMosaic(uint8_t* image, int width, int height, int bin) noexcept;

/// As for 8 bits, but each sample is first divided by bin * bin, truncating, unlike in binMono().
void binMosaic(uint16_t* image, int width, int height, int bin) noexcept;

}  // namespace orvik
