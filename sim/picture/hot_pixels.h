// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <vector>

#include "sim/sensor_format.h"

namespace orvik::sim {

/// A pixel whose dark current is far above its neighbours'.
struct HotPixel {
  int x = 0;
  int y = 0;
  float darkCurrent = 0;  ///< electrons per second at 20 degrees Celsius
};

/// The hot pixels of one particular sensor, row by row: one pixel in 5000, with dark currents from
/// 10 to 3000 electrons per second, weak ones far more often than strong ones.
std::vector<HotPixel> hotPixelsOf(const SensorFormat& sensor, std::uint32_t serial);

}  // namespace orvik::sim
