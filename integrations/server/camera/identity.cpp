// SPDX-License-Identifier: MIT
#include "integrations/server/camera/identity.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace orvik::server {

std::string keyOf(const Device& device, const std::vector<Device>& all) {
  const auto twins = std::ranges::count_if(all, [&](const Device& other) {
    return other.vendorId == device.vendorId && other.productId == device.productId &&
           other.serial == device.serial;
  });
  std::array<char, 16> product{};
  std::snprintf(product.data(), product.size(),
                "%04x:%04x:", static_cast<unsigned>(device.vendorId),
                static_cast<unsigned>(device.productId));
  const bool hasOwnSerial = !device.serial.empty() && twins <= 1;
  return product.data() + (hasOwnSerial ? device.serial : "port " + device.port);
}

}  // namespace orvik::server
