// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace orvik {

/// The version of the FPGA: one number, and four hexadecimal digits.
struct alignas(4) FpgaVersion {
  std::uint8_t major = 0;
  std::uint16_t digits = 0;  ///< the first digit in the highest four bits
};

}  // namespace orvik
