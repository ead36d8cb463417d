// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>

#include "sim/sky/scene.h"

namespace orvik::sim {

/// The scenes, each with what its seed decides.
std::unique_ptr<Scene> makeStars(const SensorFormat& sensor, std::uint64_t seed);
std::unique_ptr<Scene> makeMoon(std::uint64_t seed);
std::unique_ptr<Scene> makePlanet(std::uint64_t seed);
std::unique_ptr<Scene> makeGrey();
std::unique_ptr<Scene> makeDark();
std::unique_ptr<Scene> makeGradient();

}  // namespace orvik::sim
