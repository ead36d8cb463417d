// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "orvik/orvik.hpp"

namespace orvik::server {

/// Name and version of the program, as it tells them and as image files carry them.
inline std::string software() { return std::string("orvik-server ") + OrvikGetVersion(); }

}  // namespace orvik::server
