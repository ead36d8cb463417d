// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace orvik::imaging {

/// Blue, green, red pixel by pixel become a red, a green and a blue plane.
std::vector<std::uint8_t> planesOf(std::span<const std::uint8_t> bgr);

/// Exchanges blue and red in each pixel.
void swapBlueAndRed(std::span<std::uint8_t> pixels);

}  // namespace orvik::imaging
