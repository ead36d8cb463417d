// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "link/vendor_link.h"
#include "state/fpga_version.h"

/// What a camera tells about itself.
namespace orvik {

/// The firmware's version. @param version 1 when the camera's answer is not a version
/// @return whether the camera answered.
bool readFirmwareVersion(VendorLink& link, std::uint8_t& version);

/// The FPGA's version. @param version with zeros where the camera did not answer
/// @return whether the camera answered the last of the three requests.
bool readFpgaVersion(VendorLink& link, FpgaVersion& version);

/// Whether the camera is at a USB 3 port; false when it does not answer.
bool isAtUsb3Port(VendorLink& link);

}  // namespace orvik
