// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace orvik {

/// Splits a list of virtual cameras, "MODEL[,options];MODEL[,options]...", into its cameras.
///
/// A semicolon separates cameras. The rules of a `fault=` option are also separated by semicolons,
/// so what follows such an option is another rule of it unless it begins with a model code.
/// Spaces around a camera and empty parts are ignored.
/// @param isModel whether a text is a model code
std::vector<std::string> splitCameras(std::string_view list,
                                      const std::function<bool(std::string_view)>& isModel);

/// Loads liborvik_sim and plugs in the virtual cameras of a list, which replace the USB bus. The
/// library remains loaded. The caller must not hold a lock that installHost() takes.
/// @return "", or why not, in one sentence; then none of them is plugged in
std::string plugVirtualCameras(std::string_view list);

}  // namespace orvik
