// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace orvik {

// Runs of binned samples with the widest vectors of this processor. `rows` are the 2, 3 or 4 rows
// whose samples go into one row of the result, all read from their beginning on; with any other
// number of rows nothing is done. The result may overwrite the rows' beginning: no sample lies
// before its own result.
//
// In a mosaic, pairs of neighbours take the place of samples: pair n of the result comes from the
// pairs bin * n to bin * n + bin - 1, left from left and right from right.
//
// All return how many of `columns` were made; the last few may be left. An even number in a mosaic.

/// Sums that stop at 255.
size_t binSumRun(std::span<const uint8_t* const> rows, uint8_t* out, size_t columns) noexcept;
size_t binMosaicRun(std::span<const uint8_t* const> rows, uint8_t* out, size_t columns) noexcept;

/// Truncated means.
size_t binMeanRun(std::span<const uint16_t* const> rows, uint16_t* out, size_t columns) noexcept;
/// Sums of samples that are each divided, truncating, by the number of samples.
size_t binMosaicRun(std::span<const uint16_t* const> rows, uint16_t* out, size_t columns) noexcept;

}  // namespace orvik
