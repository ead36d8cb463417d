// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace orvik::sim {

/// Normally distributed numbers, made once for the whole process. Every row of every picture takes
/// a run of them from a place of its own: that costs a load for each sample where computing fresh
/// noise would cost a logarithm.
class NoiseTable {
 public:
  static constexpr int kUnit = 8192;  ///< one standard deviation; none is beyond four
  static constexpr std::size_t kPlaces = 65536;
  static constexpr std::size_t kLongestRow = 16384;

  /// @param place any number; taken modulo kPlaces
  /// @param count at most kLongestRow
  static std::span<const std::int16_t> run(std::uint64_t place, std::size_t count);
};

}  // namespace orvik::sim
