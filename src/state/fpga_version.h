// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace orvik {

/// The FPGA's version: one number, and four hexadecimal digits.
struct alignas(4) FpgaVersion {
  std::uint8_t major = 0;
  std::uint16_t digits = 0;  ///< the first in the highest four bits
};

}  // namespace orvik
