// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

#include "seam/usb_host.h"

namespace orvik {

/// What Linux remembers of a device's serial number from the moment of plugging. Reads a file of
/// /sys; the device is not opened and need not be permitted.
/// @return "" for a device without one; nothing where the system does not know this device.
std::optional<std::string> rememberedSerialNumber(const seam::DeviceLocation& location);

}  // namespace orvik
