// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>

namespace orvik {

// Runs of 24-bit colour turned into one byte a pixel, with the widest vectors of this processor.
// The result may lie anywhere but above the beginning of the pixels within them.
//
// Both return how many of `pixels` were done; the last few may be left.

/// As luminance().
size_t luminanceRun(const uint8_t* bgr, uint8_t* out, size_t pixels) noexcept;
/// As firstChannel().
size_t firstChannelRun(const uint8_t* bgr, uint8_t* out, size_t pixels) noexcept;

}  // namespace orvik
