// SPDX-License-Identifier: MIT
#include "usb/device_list.h"

#include <algorithm>
#include <tuple>

#include "seam/identity.h"

namespace orvik {

std::vector<seam::DeviceInfo> inOrderOfEnumeration(std::vector<seam::DeviceInfo> present) {
  std::erase_if(present, [](const seam::DeviceInfo& device) {
    return device.vendorId != identity::kVendorId;
  });
  std::ranges::sort(present, {}, [](const seam::DeviceInfo& device) {
    return std::tuple(identity::classOfProduct(device.productId), device.location);
  });
  return present;
}

std::vector<seam::DeviceInfo> devicesOfClass(std::vector<seam::DeviceInfo> present,
                                             int deviceClass) {
  auto devices = inOrderOfEnumeration(std::move(present));
  std::erase_if(devices, [deviceClass](const seam::DeviceInfo& device) {
    return identity::classOfProduct(device.productId) != deviceClass;
  });
  return devices;
}

}  // namespace orvik
