// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <span>

namespace orvik {

using GammaTable8 = std::span<std::uint8_t, 256>;
using GammaTable16 = std::span<std::uint16_t, 65536>;

/// The gamma value that a camera stores when it is set to `argument` while it stores `stored`.
///
/// The limit applies to the stored value, not to the argument: after a value above 100 the next
/// call stores 100, whatever its argument.
[[nodiscard]] int nextGamma(int stored, int argument) noexcept;

/// Fills the two tables for a gamma value: entry i of n + 1 is n * (i / n)^e, at most n, rounded.
///
/// The exponent e is (200 - 2 value) / 100 up to 50 and (150 - value) / 100 above: 1.98 at 1, 1 at
/// 50 (where both tables are the identity), 0.5 at 100. Any value is accepted. i / n, e and the
/// power are each rounded to single precision, the product of the power and n is not.
/// @par Thread: any. Takes about a tenth of a millisecond, or a few microseconds for the identity;
///   with values below 0 and above 149 about a millisecond.
void buildGammaTables(int value, GammaTable8 table8, GammaTable16 table16) noexcept;

/// Replaces each of width * height pixels by the table entry that it indexes. With a width or
/// height below 1 nothing is done.
/// @par Thread: any.
void applyTable(std::uint8_t* image, const std::uint8_t* table, int width, int height) noexcept;
void applyTable(std::uint16_t* image, const std::uint16_t* table, int width, int height) noexcept;

}  // namespace orvik
