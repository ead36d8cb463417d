// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <span>

#include "sim/sky/scene.h"

namespace orvik::test {

/// The 12-bit value that the sensor pixel in column x, row y is lit to.
inline int codeOf(int x, int y) { return (x * 37 + y * 101) % 3900; }

/// Lights each pixel to its code. The light is a trifle stronger, so that a mean half-way between
/// two steps rounds up.
class PositionScene final : public sim::Scene {
 public:
  /// @param fluxPerStep electrons per second that raise a sample by one 12-bit step
  explicit PositionScene(double fluxPerStep) : fluxPerStep_(fluxPerStep) {}
  void illuminate(const sim::SensorFormat&, const sim::Area& area,
                  std::span<float> flux) const override {
    std::size_t n = 0;
    for (int y = area.y; y < area.y + area.height; ++y) {
      for (int x = area.x; x < area.x + area.width; ++x) {
        flux[n++] = static_cast<float>((codeOf(x, y) + 0.01) * fluxPerStep_);
      }
    }
  }

 private:
  double fluxPerStep_;
};

}  // namespace orvik::test
