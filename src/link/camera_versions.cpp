// SPDX-License-Identifier: MIT
#include "link/camera_versions.h"

#include <array>

namespace orvik {

bool readFirmwareVersion(VendorLink& link, std::uint8_t& version) {
  std::array<std::uint8_t, 2> answer{};
  const bool answered = link.receive(VendorRequest::kFirmwareVersion, 0, 0, answer);
  version = answer[0] == 'V' ? answer[1] : 1;
  return answered;
}

bool readFpgaVersion(VendorLink& link, FpgaVersion& version) {
  constexpr std::uint16_t kMajorRegister = 29;
  constexpr std::uint16_t kFirstDigitsRegister = 30;
  constexpr std::uint16_t kLastDigitsRegister = 31;
  std::uint8_t first = 0;
  std::uint8_t last = 0;
  link.readFpga(kMajorRegister, version.major);
  link.readFpga(kFirstDigitsRegister, first);
  const bool answered = link.readFpga(kLastDigitsRegister, last);
  version.digits = static_cast<std::uint16_t>(first << 8 | last);
  return answered;
}

bool isAtUsb3Port(VendorLink& link) {
  std::array<std::uint8_t, 1> answer{};
  return link.receive(VendorRequest::kHostPort, 0, 0, answer) && answer[0] == 1;
}

}  // namespace orvik
