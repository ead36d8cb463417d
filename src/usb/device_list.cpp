// SPDX-License-Identifier: MIT
#include "usb/device_list.h"

#include <algorithm>

#include "seam/identity.h"

namespace orvik {

std::vector<seam::DeviceInfo> devicesOfClass(std::vector<seam::DeviceInfo> present,
                                             int deviceClass) {
  std::erase_if(present, [deviceClass](const seam::DeviceInfo& device) {
    return device.vendorId != identity::kVendorId ||
           identity::classOfProduct(device.productId) != deviceClass;
  });
  std::ranges::sort(present, {}, &seam::DeviceInfo::location);
  return present;
}

}  // namespace orvik
