// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "seam/usb_host.h"

namespace orvik::seam {

/// The port that a device is plugged into, in the notation of Linux: "2-1.4" is port 4 of the hub
/// at port 1 of bus 2.
inline std::string portText(const DeviceLocation& location) {
  std::string text = std::to_string(location.bus);
  char separator = '-';
  for (const std::uint8_t port : location.ports) {
    text += separator + std::to_string(port);
    separator = '.';
  }
  return text;
}

}  // namespace orvik::seam
