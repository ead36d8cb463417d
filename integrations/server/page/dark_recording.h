// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "integrations/server/camera/served_camera.h"

namespace orvik::server {

/// Records a dark frame of the live view's settings, while the camera does nothing else.
///
/// @param who how others see the one who wants it
/// @param done told when it is recorded, or why it is not
void recordDark(ServedCamera& camera, const std::string& who, const Done& done);

}  // namespace orvik::server
