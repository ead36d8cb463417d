// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <span>

namespace orvik::imaging {

// Samples of 16 bits, in the order of bytes in which cameras and this machine have them, become
// those of files. Input and output are of the same size, and do not overlap.

/// Big-endian samples, as in PNG.
void toBigEndian(std::span<const std::uint8_t> samples, std::span<std::uint8_t> out);

/// Big-endian samples less 32768 as signed numbers, as FITS has unsigned ones.
void toSignedBigEndian(std::span<const std::uint8_t> samples, std::span<std::uint8_t> out);

}  // namespace orvik::imaging
