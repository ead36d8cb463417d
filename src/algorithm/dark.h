// SPDX-License-Identifier: MIT
/// Dark subtraction, and what it needs of a dark frame: the part that a region shows, its mean, its
/// hot samples. All functions may be called from any thread.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "algorithm/frame_region.h"

namespace orvik {

/// Subtracts a dark sample from each pixel, in place: at most 255, at least 0, p - d + offset.
///
/// @param image width * height bytes; @param dark as many samples
/// @param offset added to every pixel. With the dark's mean the black level stays where it was, and
///        only the dark's pattern goes.
void subtractDark(uint8_t* image, int width, int height, int offset, const uint16_t* dark) noexcept;

/// The same for an image that the sensor binned 2 x 2 by colour, of width / 2 x height / 2 pixels,
/// and a dark of the sensor's own resolution.
///
/// The dark value D of a pixel is made of the four dark samples that the sensor combined (see
/// FrameRegion): the first of them, in the order top left, bottom left, top right, bottom right,
/// that is above offset + 30 counts 0.7 and the others 0.1 each; if none is, each counts 0.25. The
/// result is p + offset - D, rounded to nearest (halves upwards), within 0 and 255. Where a sample
/// lies beyond the dark, the last of its colour in the row or column stands in for it.
/// @param width, height of the dark
/// @param columnStart the image's left edge in the dark, in binned pixels; 0 or above
void subtractBinnedDark(uint8_t* image, int width, int height, int offset, const uint16_t* dark,
                        int columnStart) noexcept;

/// The dark values D of subtractBinnedDark() as whole numbers that give the same results in
/// subtractDark(): with the dark and its offset fixed, the weights need not be found anew for every
/// frame.
/// @param binned receives width / 2 * height / 2 samples
void binDark(const uint16_t* dark, int width, int height, int offset, uint16_t* binned) noexcept;

/// A picture of the whole sensor, one byte a pixel.
struct SensorPlane {
  const uint8_t* pixels = nullptr;
  int width = 0;
  int height = 0;

  [[nodiscard]] std::span<const uint8_t> all() const {
    return {pixels, static_cast<size_t>(width) * static_cast<size_t>(height)};
  }
};

/// Cuts out what a frame of `region` would show of the plane: for each sample the mean of its
/// pixels, rounded to nearest (halves downwards). Samples of which a pixel lies beyond the plane
/// become 0.
/// @param cut receives region.samples() samples
void cutPlane(const SensorPlane& plane, const FrameRegion& region, uint16_t* cut) noexcept;

/// The truncated mean; 0 of nothing.
[[nodiscard]] uint32_t darkMean(std::span<const uint8_t> dark) noexcept;
[[nodiscard]] uint32_t darkMean(std::span<const uint16_t> dark) noexcept;

/// Whether a dark sample stands out so clearly that its pixel is hot: 31 or more above the mean.
[[nodiscard]] constexpr bool isHot(uint32_t sample, uint32_t mean) noexcept {
  return sample > mean && sample - mean >= 31;
}

/// The indices of the hot samples, ascending.
[[nodiscard]] std::vector<uint32_t> hotSamples(std::span<const uint16_t> dark, uint32_t mean);

}  // namespace orvik
