// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>

namespace orvik {

/// Replaces samples by the table entries that they index, with the widest vectors of this
/// processor.
/// @param table 256 entries
/// @return how many of `count` were replaced; the last few may be left.
std::size_t applyTableRun(std::uint8_t* samples, std::size_t count,
                          const std::uint8_t* table) noexcept;

}  // namespace orvik
