// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <span>

namespace orvik {

using GammaTable8 = std::span<uint8_t, 256>;
using GammaTable16 = std::span<uint16_t, 65536>;

/// The gamma value that a camera keeps when it is set to `argument` while it keeps `stored`.
///
/// It is the stored value that is limited, not the argument: after a value above 100 the next call
/// stores 100, whatever its argument.
[[nodiscard]] int nextGamma(int stored, int argument) noexcept;

/// Fills the two tables for a gamma value: entry i of n + 1 is n * (i / n)^e, at most n, rounded.
///
/// The exponent e runs from 1.98 at 1 over 1 at 50 (where both tables are the identity) to 0.5 at
/// 100: (200 - 2 value) / 100 up to 50, (150 - value) / 100 above. Any value is accepted. i / n, e
/// and the power are each rounded to single precision, their product with n is not.
/// @par Thread: any. Takes about a millisecond, a few microseconds for the identity.
void buildGammaTables(int value, GammaTable8 table8, GammaTable16 table16) noexcept;

/// Replaces each of width * height pixels by the table entry that it indexes. A width or height
/// below 1 does nothing.
/// @par Thread: any.
void applyTable(uint8_t* image, const uint8_t* table, int width, int height) noexcept;
void applyTable(uint16_t* image, const uint16_t* table, int width, int height) noexcept;

}  // namespace orvik
