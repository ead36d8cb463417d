// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>

namespace orvik {

/// Conversion of 24-bit colour to one byte per pixel, with the widest vectors of this processor.
/// The result must not begin inside the pixels, except at their beginning.
///
/// Both return how many of `pixels` were done; the last few may be left.

/// Does the same as luminance().
std::size_t luminanceRun(const std::uint8_t* bgr, std::uint8_t* out, std::size_t pixels) noexcept;
/// Does the same as firstChannel().
std::size_t firstChannelRun(const std::uint8_t* bgr, std::uint8_t* out,
                            std::size_t pixels) noexcept;

}  // namespace orvik
