// SPDX-License-Identifier: MIT
#include <algorithm>

#include "sim/sky/optics.h"
#include "sim/sky/scenes.h"

namespace orvik::sim {
namespace {

/// White light that brings a T15C at gain 200 (20 dB) to half of its range in 10 ms.
constexpr float kWhite = 70000;

/// An evenly lit white screen.
class Grey final : public Scene {
 public:
  void illuminate(const SensorFormat& sensor, const Area& area,
                  std::span<float> flux) const override {
    paintEvenly(sensor, area, flux, {kWhite, kWhite, kWhite});
  }
  [[nodiscard]] bool isCheap() const override { return true; }
};

/// The closed lid.
class Dark final : public Scene {
 public:
  void illuminate(const SensorFormat&, const Area&, std::span<float> flux) const override {
    std::ranges::fill(flux, 0.0F);
  }
  [[nodiscard]] bool isCheap() const override { return true; }
};

/// From black at the left to white at the right, reddish above and bluish below.
class Gradient final : public Scene {
 public:
  void illuminate(const SensorFormat& sensor, const Area& area,
                  std::span<float> flux) const override {
    paint(sensor, area, flux, [&](int x, int y) {
      const float along = static_cast<float>(x) / static_cast<float>(sensor.width);
      const float down = static_cast<float>(y) / static_cast<float>(sensor.height);
      const float level = 2 * kWhite * along;
      return Light{level * (1 - 0.5F * down), level * 0.75F, level * (0.5F + 0.5F * down)};
    });
  }
  [[nodiscard]] bool isCheap() const override { return true; }
};

}  // namespace

std::unique_ptr<Scene> makeGrey() { return std::make_unique<Grey>(); }
std::unique_ptr<Scene> makeDark() { return std::make_unique<Dark>(); }
std::unique_ptr<Scene> makeGradient() { return std::make_unique<Gradient>(); }

}  // namespace orvik::sim
