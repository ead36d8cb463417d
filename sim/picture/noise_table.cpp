// SPDX-License-Identifier: MIT
#include "sim/picture/noise_table.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "sim/random.h"

namespace orvik::sim {
namespace {

std::vector<std::int16_t> makeTable() {
  Random random(0x6E6F697365);
  std::vector<std::int16_t> table(NoiseTable::kPlaces + NoiseTable::kLongestRow);
  for (std::int16_t& value : table) {
    value = static_cast<std::int16_t>(
        std::clamp(std::lround(random.normal() * NoiseTable::kUnit), -32767L, 32767L));
  }
  return table;
}

}  // namespace

std::span<const std::int16_t> NoiseTable::run(std::uint64_t place, std::size_t count) {
  // Never destroyed: a camera may still be at a picture when the program ends.
  static const auto& table = *new std::vector<std::int16_t>(makeTable());
  return std::span(table).subspan(place % kPlaces, count);
}

}  // namespace orvik::sim
