// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>

namespace orvik {

/// Swaps samples from `front` upwards with as many from before `backEnd` downwards, with the widest
/// vectors of this processor. The two ranges do not overlap.
/// @return how many of `count` were swapped; the last few may be left.
std::size_t swapMirroredRun(std::uint8_t* front, std::uint8_t* backEnd, std::size_t count) noexcept;
std::size_t swapMirroredRun(std::uint16_t* front, std::uint16_t* backEnd,
                            std::size_t count) noexcept;

}  // namespace orvik
