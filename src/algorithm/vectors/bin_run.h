// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace orvik {

/// Binning of one row of the result with the widest vectors of this processor. `rows` are the 2, 3
/// or 4 rows whose samples go into that row, all read from their beginning; with any other number
/// of rows nothing is done. The result may overwrite the beginning of the rows: no sample lies
/// before its own result.
///
/// In a mosaic, pairs of neighbours take the place of samples: pair n of the result comes from the
/// pairs bin * n to bin * n + bin - 1, its left sample from the left ones and its right sample from
/// the right ones.
///
/// All return how many of `columns` were done, an even number in a mosaic; the last few may be
/// left.

/// Sums, at most 255.
std::size_t binSumRun(std::span<const std::uint8_t* const> rows, std::uint8_t* out,
                      std::size_t columns) noexcept;
std::size_t binMosaicRun(std::span<const std::uint8_t* const> rows, std::uint8_t* out,
                         std::size_t columns) noexcept;

/// Truncated means.
std::size_t binMeanRun(std::span<const std::uint16_t* const> rows, std::uint16_t* out,
                       std::size_t columns) noexcept;
/// Sums of samples that are each divided by the number of samples and truncated.
std::size_t binMosaicRun(std::span<const std::uint16_t* const> rows, std::uint16_t* out,
                         std::size_t columns) noexcept;

}  // namespace orvik
