// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>

namespace orvik {

/// Makes packed 4:2:2 of a row of 24-bit colour, as yuv422() does, with the widest vectors of this
/// processor.
/// @param out may be `bgr`
/// @return how many of `pixels` were done, an even number; the last few may be left.
std::size_t yuvRun(const std::uint8_t* bgr, std::uint8_t* out, std::size_t pixels) noexcept;

}  // namespace orvik
