// SPDX-License-Identifier: MIT
/// The test of a single bright pixel, for programs that look for hot pixels in a frame by
/// themselves. The driver's own correction goes by its table; see hot_sites.h.
#pragma once

#include <cstdint>

namespace orvik {

/// A frame of one sample per pixel.
template <typename Sample>
struct SampleFrame {
  Sample* samples;
  int width;
  int height;
  int colourStep;  ///< distance of pixels of one colour: 2 with a mosaic, else 1
};

/// How far a sample rises above the flat background of its row.
///
/// The background is looked for from four samples beside it on, towards the middle of the row and
/// beyond, in steps of one colour: the first sample that differs from the next sample of its colour
/// (to the right) by less than 5 % of the smaller one, or not at all.
/// @param x, y column and row
/// @return the sample less that background, at least 0; 0 where the row has no such place, or
///         (x, y) lies outside.
template <typename Sample>
[[nodiscard]] uint16_t riseAboveRow(const SampleFrame<Sample>& frame, int x, int y) noexcept;

/// Mends the pixel (x, y) if it is a hot one: brighter than each of the eight of its colour around
/// it by more than 30 (of 255, or 30 * 256 of 65535) and by at least a fifth, and, unlike a star,
/// not surrounded by two or more direct neighbours that rise by more than three tenths of its own
/// rise. It becomes the mean of those of the eight that lie in the frame, truncated.
/// @return whether it was mended.
template <typename Sample>
bool mendIfHot(const SampleFrame<Sample>& frame, int x, int y) noexcept;

extern template uint16_t riseAboveRow(const SampleFrame<uint8_t>&, int, int) noexcept;
extern template uint16_t riseAboveRow(const SampleFrame<uint16_t>&, int, int) noexcept;
extern template bool mendIfHot(const SampleFrame<uint8_t>&, int, int) noexcept;
extern template bool mendIfHot(const SampleFrame<uint16_t>&, int, int) noexcept;

}  // namespace orvik
