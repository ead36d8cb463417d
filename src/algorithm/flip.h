// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace orvik {

/// Flips a frame of one sample per pixel in place. Both flips at once turn it by 180 degrees,
/// except that with an odd width the middle column stays as it is. With a width or height below 1
/// nothing is done.
/// @par Thread: any.
void flip(std::uint8_t* image, int width, int height, bool vertical, bool horizontal) noexcept;
void flip(std::uint16_t* image, int width, int height, bool vertical, bool horizontal) noexcept;

}  // namespace orvik
