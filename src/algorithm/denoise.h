// SPDX-License-Identifier: MIT
/// The test of a single bright pixel, for programs that look for hot pixels in a frame themselves.
/// The driver's own correction uses its table; see hot_sites.h.
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
/// The search for the background begins four samples beside it and goes towards the middle of the
/// row and beyond, in steps of one colour. The background is the first sample that differs from the
/// next one of its colour (to the right) by less than 5 % of the smaller one, or not at all.
/// @param x, y column and row
/// @return the sample minus the background, at least 0; 0 if the row has no such background or
///         (x, y) lies outside the frame.
template <typename Sample>
[[nodiscard]] std::uint16_t riseAboveRow(const SampleFrame<Sample>& frame, int x, int y) noexcept;

/// Corrects the pixel (x, y) if it is hot. A hot pixel is brighter than each of the eight of its
/// colour around it by more than 30 (of 255, or 30 * 256 of 65535) and by at least a fifth of its
/// own value. Unlike a star, it has fewer than two direct neighbours that rise by more than three
/// tenths of its own rise. It becomes the truncated mean of those of the eight that lie in the
/// frame.
/// @return whether it was corrected.
template <typename Sample>
bool mendIfHot(const SampleFrame<Sample>& frame, int x, int y) noexcept;

extern template std::uint16_t riseAboveRow(const SampleFrame<std::uint8_t>&, int, int) noexcept;
extern template std::uint16_t riseAboveRow(const SampleFrame<std::uint16_t>&, int, int) noexcept;
extern template bool mendIfHot(const SampleFrame<std::uint8_t>&, int, int) noexcept;
extern template bool mendIfHot(const SampleFrame<std::uint16_t>&, int, int) noexcept;

}  // namespace orvik
