// SPDX-License-Identifier: MIT
#include "camera/model_devices.h"

#include <algorithm>

#include "usb/device_list.h"

namespace orvik {

std::optional<seam::DeviceInfo> deviceOfModel(const ModelRow& model,
                                              std::vector<seam::DeviceInfo> present, int ordinal) {
  int found = 0;
  for (const seam::DeviceInfo& device : inOrderOfEnumeration(std::move(present))) {
    if (model.findProduct(device.productId) != nullptr && ++found == ordinal) return device;
  }
  return std::nullopt;
}

std::optional<seam::DeviceInfo> deviceAtPortOf(const seam::DeviceInfo& former,
                                               const ModelRow& model,
                                               const std::vector<seam::DeviceInfo>& present) {
  const auto found = std::ranges::find_if(present, [&](const seam::DeviceInfo& device) {
    return device.vendorId == former.vendorId && device.location.bus == former.location.bus &&
           device.location.ports == former.location.ports &&
           model.findProduct(device.productId) != nullptr;
  });
  return found == present.end() ? std::nullopt : std::optional(*found);
}

}  // namespace orvik
