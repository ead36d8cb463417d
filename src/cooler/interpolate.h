// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cmath>
#include <cstddef>
#include <optional>

namespace orvik::cooler {

/// Looks up `x` in column `from` of a table and returns the value of column `to`, interpolated
/// linearly between rows. Column `from` must be monotonic.
/// @return nothing when `x` lies outside the table.
template <class Row, std::size_t kRows, class Number>
std::optional<Number> interpolate(const std::array<Row, kRows>& table, Number Row::*from,
                                  Number Row::*to, Number x) {
  for (std::size_t i = 1; i < kRows; ++i) {
    const Row& a = table[i - 1];
    const Row& b = table[i];
    const Number middle = (b.*from + a.*from) / 2;
    const Number half = std::abs((b.*from - a.*from) / 2);
    if (std::abs(x - middle) <= half) {
      return (x - a.*from) * (b.*to - a.*to) / (b.*from - a.*from) + a.*to;
    }
  }
  return std::nullopt;
}

/// The row whose column `from` is nearest to `x`; of two equally near the earlier one.
template <class Row, std::size_t kRows, class Number>
const Row& nearestRow(const std::array<Row, kRows>& table, Number Row::*from, Number x) {
  const Row* nearest = &table.front();
  for (const Row& row : table) {
    if (std::abs(x - row.*from) < std::abs(x - nearest->*from)) nearest = &row;
  }
  return *nearest;
}

}  // namespace orvik::cooler
