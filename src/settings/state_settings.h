// SPDX-License-Identifier: MIT
#pragma once

#include "settings/setting_values.h"
#include "state/camera_state.h"
#include "state/model_row.h"

/// Converts between the state of a camera and its stored settings: names and lengths of the values.
namespace orvik::settings {

/// The settings of a camera. The bandwidth is stored under the name for the USB generation of the
/// host.
Group groupOf(const CameraState& state);

/// Applies settings to the state of a camera. Values are limited to the ranges of the model. A
/// value that is missing, or has more bytes than its member, leaves the member unchanged; one with
/// fewer bytes sets the low bytes of the member. Sends nothing to the camera.
void apply(const Group& group, const ModelRow& model, CameraState& state);

}  // namespace orvik::settings
