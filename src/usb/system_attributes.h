// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

#include "seam/usb_host.h"

namespace orvik {

/// The serial number of a device that Linux stored when the device was plugged in. Reads a file in
/// /sys; the device is not opened, and permission to open it is not needed.
/// @return "" for a device without one; nothing if the system does not know this device.
std::optional<std::string> rememberedSerialNumber(const seam::DeviceLocation& location);

}  // namespace orvik
