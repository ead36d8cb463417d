// SPDX-License-Identifier: MIT
#pragma once

#include "settings/setting_values.h"
#include "state/camera_state.h"
#include "state/model_row.h"

/// What of a camera's state is kept, under which names and in how many bytes.
namespace orvik::settings {

/// The settings of a camera. The bandwidth goes under the name for the host's generation.
Group groupOf(const CameraState& state);

/// Puts settings into a camera's state. A value comes within the model's limits; one that is
/// missing, or has more bytes than its member, leaves the member as it is; one with fewer bytes
/// sets the member's low ones. Sends nothing to the camera.
void apply(const Group& group, const ModelRow& model, CameraState& state);

}  // namespace orvik::settings
