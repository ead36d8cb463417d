// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>

#include "algorithm/colour_balance.h"
#include "algorithm/white_balance.h"

namespace orvik {

/// The measurements that automatic control needs. Aligned to 2 bytes, so that every compiler loads
/// and stores it as one word.
struct alignas(2) Wanted {
  bool brightness = false;
  bool colour = false;

  [[nodiscard]] bool any() const { return brightness || colour; }
};

/// The measurements of a frame and the settings that it was taken with: if these have changed
/// since, the measurement is useless.
struct FrameMeasurement {
  std::optional<int> brightness;       ///< as measureBrightness() gives it
  std::optional<ColourValues> colour;  ///< 0 to 255
  std::uint64_t exposureUs = 0;
  int gain = 0;
  WhiteBalance balance;
};

}  // namespace orvik
