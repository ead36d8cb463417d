// SPDX-License-Identifier: MIT
#include "algorithm/white_balance.h"

#include <algorithm>
#include <cstddef>

namespace orvik {
namespace {

void fillGainTable(std::array<uint8_t, 256>& table, int32_t gain) noexcept {
  // From this gain on every value but 0 saturates; the limit keeps the product within 32 bits.
  constexpr int32_t kSaturatesAll = 255 * 50;
  const int32_t limited = std::clamp(gain, 0, kSaturatesAll);
  for (int32_t i = 0; i < 256; ++i) {
    table[static_cast<size_t>(i)] = static_cast<uint8_t>(std::min(255, i * limited / 50));
  }
}

}  // namespace

GainTables::GainTables(WhiteBalance balance) noexcept {
  fillGainTable(red, balance.red);
  fillGainTable(blue, balance.blue);
}

}  // namespace orvik
