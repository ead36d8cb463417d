// SPDX-License-Identifier: MIT
#include "sim/sky/scenes.h"

namespace orvik::sim {

std::unique_ptr<Scene> makeScene(SceneKind kind, std::uint64_t seed) {
  switch (kind) {
    case SceneKind::kStars:
    case SceneKind::kMoon:
    case SceneKind::kPlanet:
    case SceneKind::kGrey:
      return makeGrey();
    case SceneKind::kDark:
      return makeDark();
    case SceneKind::kGradient:
      return makeGradient();
  }
  (void)seed;
  return makeDark();
}

}  // namespace orvik::sim
