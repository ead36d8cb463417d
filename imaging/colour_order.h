// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace orvik::imaging {

/// Blue, green, red pixel by pixel become a red, a green and a blue plane.
std::vector<std::uint8_t> planesOf(std::span<const std::uint8_t> bgr);

/// Takes one colour of as many pixels as `plane` has bytes.
///
/// @param bgr blue, green, red pixel by pixel
/// @param channel 0 blue, 1 green, 2 red
void takeChannel(std::span<const std::uint8_t> bgr, std::size_t channel,
                 std::span<std::uint8_t> plane);

/// Red, green, blue of each pixel, less those of the pixel to the left, modulo 256: what PNG calls
/// the filter "Sub".
///
/// @param bgr a row of pixels: blue, green, red
/// @param out as many bytes
void toColourSteps(std::span<const std::uint8_t> bgr, std::span<std::uint8_t> out);

/// Exchanges blue and red in each pixel.
void swapBlueAndRed(std::span<std::uint8_t> pixels);

}  // namespace orvik::imaging
