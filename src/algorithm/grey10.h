// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>

namespace orvik {

/// Grey as 10-bit colour: each 16-bit sample becomes a 32-bit little-endian word that holds the
/// same 10 bits three times, in bits 0 to 9, 10 to 19 and 20 to 29.
///
/// @param samples `count` samples of 10 bits; larger ones run into their neighbours
/// @param words receives 4 * count bytes; need not be aligned; must not overlap `samples`
/// @par Thread: any.
void grey10(const uint16_t* samples, uint8_t* words, size_t count) noexcept;

}  // namespace orvik
