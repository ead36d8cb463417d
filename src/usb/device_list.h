// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "seam/usb_host.h"

namespace orvik {

/// The maker's devices among `present` in the order of enumeration: by interface class, then by
/// location. The order of those that stay is the same whatever is plugged or unplugged.
std::vector<seam::DeviceInfo> inOrderOfEnumeration(std::vector<seam::DeviceInfo> present);

/// The maker's devices of one interface class among `present`, in the order of their locations: an
/// index into the result stays the same while nothing is plugged or unplugged.
/// @param deviceClass 0 to 9; of any other there are no devices
std::vector<seam::DeviceInfo> devicesOfClass(std::vector<seam::DeviceInfo> present,
                                             int deviceClass);

}  // namespace orvik
