// SPDX-License-Identifier: MIT
#include "algorithm/grey10.h"

#include <cstring>

#include "algorithm/vectors/grey_run.h"

namespace orvik {

void grey10(const std::uint16_t* samples, std::uint8_t* words, std::size_t count) noexcept {
  constexpr std::uint32_t kThreeTimes = 1U | 1U << 10U | 1U << 20U;
  for (std::size_t i = grey10Run(samples, words, count); i < count; ++i) {
    const std::uint32_t word = samples[i] * kThreeTimes;
    std::memcpy(words + 4 * i, &word, sizeof word);
  }
}

}  // namespace orvik
