// SPDX-License-Identifier: MIT
/// Binning on the host, in place: the result overwrites the start of the full-size frame.
///
/// `width` and `height` are those of the result; the frame has width * bin samples per row and
/// height * bin rows. With a bin below 2, or a width or height below 1, nothing is done. Every
/// function may be called from any thread.
#pragma once

#include <cstdint>

namespace orvik {

/// Sums each block of bin x bin samples, at most 255: binning brightens an 8-bit image.
void binMono(std::uint8_t* image, int width, int height, int bin) noexcept;

/// The truncated mean of each block of bin x bin samples.
void binMono(std::uint16_t* image, int width, int height, int bin) noexcept;

/// Sums, at most 255, bin x bin samples of one colour, so that the result is a mosaic of the same
/// pattern: each 2 x 2 cell of the result comes from 2 bin x 2 bin samples.
///
/// Width and height should be even. With an odd size, the last cells of the result need samples
/// beyond the frame; the last sample of the same colour in the row or column is used instead.
void binMosaic(std::uint8_t* image, int width, int height, int bin) noexcept;

/// As for 8 bits, but each sample is first divided by bin * bin and truncated; binMono() divides
/// the sum instead.
void binMosaic(std::uint16_t* image, int width, int height, int bin) noexcept;

}  // namespace orvik
