// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <span>

#include "link/vendor_link.h"
#include "orvik/class_types.h"

/// The EEPROM from which a bridge boots: over its I2C bus, or, on the USB 2 bridge, through a
/// helper program that is loaded into the bridge first.
namespace orvik::firmware {

/// The largest boot EEPROM that the helper reaches.
inline constexpr std::size_t kMaxEepromBytes = 65536;

/// Writes an image in pages of 2048 bytes, the last one filled with zeros. An image that is longer
/// than an EEPROM goes on in the next one on the bus.
/// @return also FWDWNLOAD_NO_EEPROM_SIZE
FX3_FWDWNLOAD_ERROR_CODE writeI2cImage(VendorLink& link, std::span<const std::uint8_t> image,
                                       VendorRequest request);

/// Writes a boot image through the helper and reads it back, up to three times. The helper goes on
/// running. @param image at most kMaxEepromBytes
/// @return whether the EEPROM held it after the first or the second time. That the third time is
///         reported as a failure is what programs expect of this operation.
bool writeThroughHelper(VendorLink& link, std::span<const std::uint8_t> image);

/// Makes the boot EEPROM one that a bridge does not boot from, in the same way.
bool eraseThroughHelper(VendorLink& link);

}  // namespace orvik::firmware
