// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "seam/usb_host.h"
#include "sim/wire/device.h"

namespace orvik::sim {

/// Opens a plugged camera.
/// @return null when it is gone.
std::unique_ptr<seam::Port> openPort(Device& device);

}  // namespace orvik::sim
