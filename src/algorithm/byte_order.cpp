// SPDX-License-Identifier: MIT
#include "algorithm/byte_order.h"

namespace orvik {

// Compilers vectorize this form.
void swapBytes(std::span<std::uint16_t> samples) noexcept {
  for (std::uint16_t& sample : samples)
    sample = static_cast<std::uint16_t>(sample << 8U | sample >> 8U);
}

}  // namespace orvik
