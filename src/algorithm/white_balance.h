// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>

namespace orvik {

/// The gains of red and blue in fiftieths: 50 is unity, 100 doubles. Green has no gain.
/// Aligned to 8 bytes, so that every compiler loads and stores it as one word.
struct alignas(8) WhiteBalance {
  std::int32_t red = 50;
  std::int32_t blue = 50;
  friend bool operator==(const WhiteBalance&, const WhiteBalance&) = default;
};

/// The gains as tables: entry i is min(255, i * gain / 50), truncated. A gain below 0 counts as 0.
struct GainTables {
  explicit GainTables(WhiteBalance balance) noexcept;

  std::array<std::uint8_t, 256> red;
  std::array<std::uint8_t, 256> blue;
};

}  // namespace orvik
