// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "firmware/firmware_image.h"
#include "link/vendor_link.h"
#include "orvik/class_types.h"
#include "seam/clock.h"

/// The memory of the USB bridge, as its boot loader gives access to it. Addresses have 32 bits.
/// Each function is as long as its requests; each request is one of the link, so that other
/// threads' may come between. A closed device fails at once.
namespace orvik::firmware {

/// At most 65535 bytes. @param request 0xA0, or another that addresses memory the same way
bool writeMemory(VendorLink& link, std::uint32_t address, std::span<const std::uint8_t> data,
                 VendorRequest request);
bool readMemory(VendorLink& link, std::uint32_t address, std::span<std::uint8_t> data,
                VendorRequest request);

/// Sends the program's entry. The halves of the address stand the other way round than in a write.
bool setProgramEntry(VendorLink& link, std::uint32_t address, VendorRequest request);

/// Writes an image into RAM and reads each part back. Each part is written three times, and the
/// third time decides: the boot loader's memory may need it.
FX3_FWDWNLOAD_ERROR_CODE loadImage(VendorLink& link, const Image& image, VendorRequest request);

/// Starts the program at `entry`.
/// @return whether the bridge acknowledged it. It may leave the bus instead, as the program starts.
bool jumpTo(VendorLink& link, std::uint32_t entry, VendorRequest request);

/// loadImage(), and the start of the program.
/// @return FWDWNLOAD_SUCCESS when the bridge has acknowledged the start, or has left the bus for
/// it.
FX3_FWDWNLOAD_ERROR_CODE startImage(VendorLink& link, seam::Clock& clock, const Image& image);

/// The bridge's processor stands still while `hold` is set; released, it starts from address 0.
bool holdProcessor(VendorLink& link, bool hold);

/// Loads a record stream with the processor held, and starts it. Transfers that fail are passed
/// over: programs expect that of the operation that does so.
void runRecords(VendorLink& link, const std::vector<Record>& records);

/// Loads a record stream with the processor held and starts it. Each part is written and read back
/// up to three times. Where a part fails, the processor stays held, so that no incomplete program
/// runs. Where the processor could not be held, nothing is written and the program before goes on.
/// @return as startImage()
FX3_FWDWNLOAD_ERROR_CODE startRecords(VendorLink& link, seam::Clock& clock,
                                      const std::vector<Record>& records);

}  // namespace orvik::firmware
