// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>

namespace orvik {

/// Replaces each sample p by p + offset - d, clamped to 0 to 255, with the widest vectors of this
/// processor.
/// @param offset up to 32767 - 255
/// @param dark the `count` samples d
/// @return how many of `count` were replaced; the last few may be left.
std::size_t subtractDarkRun(std::uint8_t* samples, std::size_t count, std::uint16_t offset,
                            const std::uint16_t* dark) noexcept;

/// Two rows of a dark whose samples a binned sensor combines, from the first column on.
struct DarkRows {
  const std::uint16_t* upper;
  const std::uint16_t* lower;
};

/// Makes samples of the dark of an image that the sensor binned 2 x 2 by colour, as binDark() does.
/// The first one is of an even column.
/// @param rows at least 2 * count samples each
/// @param hotAbove samples above it are hot
/// @return how many of `count` were done: all but the last few, or fewer if a sample above 6553
///   follows
std::size_t binDarkRun(const DarkRows& rows, std::uint16_t* out, std::size_t count,
                       std::int64_t hotAbove) noexcept;

}  // namespace orvik
