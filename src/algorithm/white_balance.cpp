// SPDX-License-Identifier: MIT
#include "algorithm/white_balance.h"

#include <algorithm>
#include <cstddef>

namespace orvik {
namespace {

void fillGainTable(std::array<std::uint8_t, 256>& table, std::int32_t gain) noexcept {
  // From this gain on, every value except 0 saturates; the limit keeps the product within 32 bits.
  constexpr std::int32_t kSaturatesAll = 255 * 50;
  const std::int32_t limited = std::clamp(gain, 0, kSaturatesAll);
  for (std::int32_t i = 0; i < 256; ++i) {
    table[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(std::min(255, i * limited / 50));
  }
}

}  // namespace

GainTables::GainTables(WhiteBalance balance) noexcept {
  fillGainTable(red, balance.red);
  fillGainTable(blue, balance.blue);
}

}  // namespace orvik
