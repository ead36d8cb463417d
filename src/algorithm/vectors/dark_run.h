// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>

namespace orvik {

/// Replaces each sample p by p + offset - d, clamped to 0 to 255, with the widest vectors of this
/// processor.
/// @param offset up to 32767 - 255
/// @param dark the `count` samples d
/// @return how many of `count` were replaced; the last few may be left.
std::size_t subtractDarkRun(std::uint8_t* samples, std::size_t count, std::uint16_t offset,
                            const std::uint16_t* dark) noexcept;

}  // namespace orvik
