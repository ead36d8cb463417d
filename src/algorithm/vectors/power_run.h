// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace orvik {

/// The power function around a point: the point, its power, and the factors of the powers of the
/// relative distance to it, from the first power on.
struct PowerSeries {
  PowerSeries(double point, double exponent) noexcept;

  double centre;
  double power;
  std::array<double, 6> factors;
};

/// The largest relative distance to the centre at which powerRun() is exact.
inline constexpr double kSeriesReach = 1.0 / 64;

/// Entries `first` to first + count - 1 of the power table with 65536 entries, as
/// buildGammaTables() defines it, with the widest vectors of this processor.
/// @param series for an exponent above 0, up to 2, with all entries in its reach
/// @param table all entries
/// @return how many of `count` were done: fewer if the next ones need the exact power, because of
///   the precision of the series or because they do not fill a vector
std::size_t powerRun(const PowerSeries& series, std::size_t first, std::size_t count,
                     std::uint16_t* table) noexcept;

}  // namespace orvik
