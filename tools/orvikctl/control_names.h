// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "orvik/orvik.hpp"

namespace orvik::ctl {

/// The value of a control; nothing if the camera does not offer it, or it cannot be read.
std::optional<ControlValue> valueIfAny(const Camera& camera, Orvik_CONTROL_TYPE type);

/// Finds a control by name; case, spaces, '-' and '_' do not matter.
///
/// @throws Failure (kUsage) that lists the names, if the camera has no such control
const Control& findControl(const Camera& camera, std::string_view name);

/// Reads a control's new value from "200", "200:auto" or "auto"; an exposure may carry a unit.
///
/// @throws Failure (kUsage) if it is no number, beyond the limits, the control can only be read, or
/// has no automatic mode
ControlValue parseControlValue(const Camera& camera, const Control& control, std::string_view text);

/// "Gain=200", "Exposure=20000us:auto": as `set` takes it.
std::string assignmentText(const Control& control, ControlValue value);

}  // namespace orvik::ctl
