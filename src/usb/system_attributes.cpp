// SPDX-License-Identifier: MIT
#include "usb/system_attributes.h"

#include <fstream>

#include "seam/location_text.h"

namespace orvik {
namespace {

std::optional<std::string> firstLine(const std::string& file) {
  std::ifstream stream(file);
  std::string line;
  if (!stream || !std::getline(stream, line)) return std::nullopt;
  return line;
}

}  // namespace

std::optional<std::string> rememberedSerialNumber(const seam::DeviceLocation& location) {
  const std::string folder = "/sys/bus/usb/devices/" + seam::portText(location) + '/';
  // Another device may be plugged into the port by now.
  if (firstLine(folder + "devnum") != std::to_string(location.address)) return std::nullopt;
  return firstLine(folder + "serial").value_or("");
}

}  // namespace orvik
