// SPDX-License-Identifier: MIT
#pragma once

#include <array>

#include "orvik/orvik.h"

namespace orvik::server {

/// The lines of the guide port for north, south, east and west. The cable determines them.
using GuideWiring = std::array<GuideD, 4>;
inline constexpr GuideWiring kUsualWiring{Orvik_GUIDE_DIR_0, Orvik_GUIDE_DIR_1, Orvik_GUIDE_DIR_2,
                                          Orvik_GUIDE_DIR_3};

}  // namespace orvik::server
