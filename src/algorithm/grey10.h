// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>

namespace orvik {

/// Converts grey to 10-bit colour: each 16-bit sample becomes a 32-bit little-endian word that
/// holds the same 10 bits three times, in bits 0 to 9, 10 to 19 and 20 to 29.
///
/// @param samples `count` samples of 10 bits; the bits of larger ones overlap
/// @param words receives 4 * count bytes; need not be aligned; must not overlap `samples`
/// @par Thread: any.
void grey10(const std::uint16_t* samples, std::uint8_t* words, std::size_t count) noexcept;

}  // namespace orvik
