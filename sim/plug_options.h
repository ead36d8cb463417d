// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

#include "sim/camera_options.h"

namespace orvik::sim {

/// Reads comma-separated `key=value` pairs into `options`, as the sim's C interface documents them.
/// Each key may be given once.
/// @return "" or one sentence that says what is wrong; `options` is then of no use.
std::string parsePlugOptions(std::string_view text, CameraOptions& options);

}  // namespace orvik::sim
