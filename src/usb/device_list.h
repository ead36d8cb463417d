// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "seam/usb_host.h"

namespace orvik {

/// The maker's devices in `present`, in the order of enumeration: by interface class, then by
/// location. Plugging or unplugging other devices does not change the relative order.
std::vector<seam::DeviceInfo> inOrderOfEnumeration(std::vector<seam::DeviceInfo> present);

/// The maker's devices of one interface class in `present`, in the order of their locations: an
/// index into the result stays valid until a device is plugged or unplugged.
/// @param deviceClass 0 to 9; any other class has no devices
std::vector<seam::DeviceInfo> devicesOfClass(std::vector<seam::DeviceInfo> present,
                                             int deviceClass);

}  // namespace orvik
