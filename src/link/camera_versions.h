// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "link/vendor_link.h"
#include "state/fpga_version.h"

/// Versions and port speed as reported by the camera.
namespace orvik {

/// Reads the version of the firmware. @param version 1 when the answer is not a version
/// @return whether the camera answered.
bool readFirmwareVersion(VendorLink& link, std::uint8_t& version);

/// Reads the version of the FPGA. @param version parts that the camera did not answer are 0
/// @return whether the camera answered the last of the three requests.
bool readFpgaVersion(VendorLink& link, FpgaVersion& version);

/// Whether the camera is at a USB 3 port; false when it does not answer.
bool isAtUsb3Port(VendorLink& link);

}  // namespace orvik
