// SPDX-License-Identifier: MIT
#include "sim/sky/scenes.h"

namespace orvik::sim {

std::unique_ptr<Scene> makeScene(SceneKind kind, const SensorFormat& sensor, std::uint64_t seed) {
  switch (kind) {
    case SceneKind::kStars:
      return makeStars(sensor, seed);
    case SceneKind::kMoon:
      return makeMoon(seed);
    case SceneKind::kPlanet:
      return makePlanet(seed);
    case SceneKind::kGrey:
      return makeGrey();
    case SceneKind::kDark:
      return makeDark();
    case SceneKind::kGradient:
      return makeGradient();
  }
  return makeDark();
}

}  // namespace orvik::sim
