// SPDX-License-Identifier: MIT
#include "algorithm/grey10.h"

#include <cstring>

namespace orvik {

void grey10(const uint16_t* samples, uint8_t* words, size_t count) noexcept {
  constexpr uint32_t kThreeTimes = 1U | 1U << 10U | 1U << 20U;
  for (size_t i = 0; i < count; ++i) {
    const uint32_t word = samples[i] * kThreeTimes;
    std::memcpy(words + 4 * i, &word, sizeof word);
  }
}

}  // namespace orvik
