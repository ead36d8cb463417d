// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>

namespace orvik {

/// Replaces each sample p by p + offset - d, within 0 and 255, with the widest vectors of this
/// processor.
/// @param offset up to 32767 - 255
/// @param dark the samples d, as many
/// @return how many of `count` were replaced; the last few may be left.
size_t subtractDarkRun(uint8_t* samples, size_t count, uint16_t offset,
                       const uint16_t* dark) noexcept;

}  // namespace orvik
