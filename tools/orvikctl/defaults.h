// SPDX-License-Identifier: MIT
#pragma once

#include "orvik/orvik.hpp"

namespace orvik::ctl {

/// The value that a control of a new camera has, as far as it changes images: the bandwidth is
/// automatic and the camera bins by itself, whatever they say of their default.
ControlValue defaultOf(const Control& control);

/// Sets all controls to their defaults and switches the subtraction of the dark frame off. Hot
/// pixels that the camera remembers stay mended.
///
/// @throws Error if the camera fails
void resetControls(Camera& camera);

}  // namespace orvik::ctl
