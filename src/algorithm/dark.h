// SPDX-License-Identifier: MIT
/// Dark subtraction, and what it needs from a dark frame: the part that a region shows, the mean
/// and the hot samples. All functions may be called from any thread.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "algorithm/frame_region.h"

namespace orvik {

/// Subtracts a dark sample from each pixel, in place: p becomes p - d + offset, clamped to 0 to
/// 255.
///
/// @param image width * height bytes; @param dark as many samples
/// @param offset added to every pixel. If it is the mean of the dark, the black level stays the
///        same and only the pattern of the dark is removed.
void subtractDark(std::uint8_t* image, int width, int height, int offset,
                  const std::uint16_t* dark) noexcept;

/// The same for an image that the sensor binned 2 x 2 by colour, of width / 2 x height / 2 pixels,
/// and a dark of the sensor's own resolution.
///
/// The dark value D of a pixel is the weighted sum of the four dark samples that the sensor
/// combined (see FrameRegion): the first of them, in the order top left, bottom left, top right,
/// bottom right, that is above offset + 30 has the weight 0.7 and the others 0.1 each; if none is,
/// each has 0.25. The result is p + offset - D, rounded to nearest (halves upwards), clamped to 0
/// to 255. If a sample lies beyond the dark, the last of its colour in the row or column is used
/// instead.
/// @param width, height of the dark
/// @param columnStart the image's left edge in the dark, in binned pixels; 0 or above
void subtractBinnedDark(std::uint8_t* image, int width, int height, int offset,
                        const std::uint16_t* dark, int columnStart) noexcept;

/// The dark values D of subtractBinnedDark() as whole numbers that give the same results in
/// subtractDark(). While the dark and its offset stay the same, the weights need not be computed
/// again for every frame.
/// @param binned receives width / 2 * height / 2 samples
void binDark(const std::uint16_t* dark, int width, int height, int offset,
             std::uint16_t* binned) noexcept;

/// An image of the whole sensor, one byte per pixel.
struct SensorPlane {
  const std::uint8_t* pixels = nullptr;
  int width = 0;
  int height = 0;

  [[nodiscard]] std::span<const std::uint8_t> all() const {
    return {pixels, static_cast<std::size_t>(width) * static_cast<std::size_t>(height)};
  }
};

/// Cuts out the part of the plane that a frame of `region` shows: for each sample the mean of its
/// pixels, rounded to nearest (halves downwards). A sample with a pixel beyond the plane becomes 0.
/// @param cut receives region.samples() samples
void cutPlane(const SensorPlane& plane, const FrameRegion& region, std::uint16_t* cut) noexcept;

/// The truncated mean; 0 for an empty span.
[[nodiscard]] std::uint32_t darkMean(std::span<const std::uint8_t> dark) noexcept;
[[nodiscard]] std::uint32_t darkMean(std::span<const std::uint16_t> dark) noexcept;

/// Whether the pixel of a dark sample is hot: the sample is 31 or more above the mean.
[[nodiscard]] constexpr bool isHot(std::uint32_t sample, std::uint32_t mean) noexcept {
  return sample > mean && sample - mean >= 31;
}

/// The indices of the hot samples, ascending.
[[nodiscard]] std::vector<std::uint32_t> hotSamples(std::span<const std::uint16_t> dark,
                                                    std::uint32_t mean);

}  // namespace orvik
