// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>

namespace orvik {

/// Swaps samples from `front` upwards with as many from before `backEnd` downwards, with the widest
/// vectors of this processor. The two ranges do not overlap.
/// @return how many of `count` were swapped; the last few may be left.
size_t swapMirroredRun(uint8_t* front, uint8_t* backEnd, size_t count) noexcept;
size_t swapMirroredRun(uint16_t* front, uint16_t* backEnd, size_t count) noexcept;

}  // namespace orvik
