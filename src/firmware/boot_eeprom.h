// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <span>

#include "link/vendor_link.h"
#include "orvik/class_types.h"

/// The EEPROM from which a bridge boots. It is written over the I2C bus or, on the USB 2 bridge,
/// through a helper program that is loaded into the bridge first.
namespace orvik::firmware {

/// The largest boot EEPROM that the helper can address.
inline constexpr std::size_t kMaxEepromBytes = 65536;

/// Writes an image in pages of 2048 bytes, the last one padded with zeros. An image that is longer
/// than an EEPROM continues in the next one on the bus.
/// @return also FWDWNLOAD_NO_EEPROM_SIZE
FX3_FWDWNLOAD_ERROR_CODE writeI2cImage(VendorLink& link, std::span<const std::uint8_t> image,
                                       VendorRequest request);

/// Writes a boot image through the helper and reads it back, up to three times. The helper keeps
/// running. @param image at most kMaxEepromBytes
/// @return whether the first or the second attempt succeeded. The third one is always reported as a
///         failure, because programs expect this.
bool writeThroughHelper(VendorLink& link, std::span<const std::uint8_t> image);

/// In the same way, overwrites the boot EEPROM so that the bridge does not boot from it.
bool eraseThroughHelper(VendorLink& link);

}  // namespace orvik::firmware
