// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "camera/firmware_types.h"
#include "camera/vendor_link.h"
#include "firmware/firmware_image.h"

/// The memory of the USB bridge, as its boot loader gives access to it. Addresses have 32 bits.
/// Each function is as long as its requests; each request is one of the link, so that other
/// threads' may come between. A closed device fails at once.
namespace orvik::firmware {

/// At most 65535 bytes. @param request 0xA0, or another that addresses memory the same way
bool writeMemory(VendorLink& link, std::uint32_t address, std::span<const std::uint8_t> data,
                 std::uint8_t request);
bool readMemory(VendorLink& link, std::uint32_t address, std::span<std::uint8_t> data,
                std::uint8_t request);

/// Sends the program's entry. The halves of the address stand the other way round than in a write.
bool setProgramEntry(VendorLink& link, std::uint32_t address, std::uint8_t request);

/// Writes an image into RAM, reads each part back, and starts it. Each part is written three times,
/// and the third time decides: the boot loader's memory may need it.
FX3_FWDWNLOAD_ERROR_CODE loadImage(VendorLink& link, const Image& image, std::uint8_t request);

/// The bridge's processor stands still while `hold` is set; released, it starts from address 0.
bool holdProcessor(VendorLink& link, bool hold);

/// Loads a record stream with the processor held, and starts it. Transfers that fail are passed
/// over: there is nothing else to be tried.
void runRecords(VendorLink& link, const std::vector<Record>& records);

}  // namespace orvik::firmware
