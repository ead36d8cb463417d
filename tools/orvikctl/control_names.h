// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "orvik/orvik.h"
#include "tools/orvikctl/camera.h"
#include "tools/orvikctl/image_types.h"

namespace orvik::ctl {

/// The bin factors up to the end of the list.
std::vector<int> binsOf(const Orvik_CAMERA_INFO& info);

/// Finds a control by name; case, spaces, '-' and '_' do not matter.
///
/// @throws Failure (kUsage) that lists the names, if the camera has no such control
const Orvik_CONTROL_CAPS& findControl(const Camera& camera, std::string_view name);

/// Reads a control's new value from "200", "200:auto" or "auto"; an exposure may carry a unit.
///
/// @throws Failure (kUsage) if it is no number, beyond the limits, the control can only be read, or
/// has no automatic mode
ControlValue parseControlValue(const Camera& camera, const Orvik_CONTROL_CAPS& caps,
                               std::string_view text);

}  // namespace orvik::ctl
