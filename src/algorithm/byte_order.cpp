// SPDX-License-Identifier: MIT
#include "algorithm/byte_order.h"

namespace orvik {

// In this form compilers make vector code of it.
void swapBytes(std::span<uint16_t> samples) noexcept {
  for (uint16_t& sample : samples) sample = static_cast<uint16_t>(sample << 8U | sample >> 8U);
}

}  // namespace orvik
