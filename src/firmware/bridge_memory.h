// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "firmware/firmware_image.h"
#include "link/vendor_link.h"
#include "orvik/class_types.h"
#include "seam/clock.h"

/// Access to the memory of the USB bridge through its boot loader. Addresses have 32 bits. Each
/// function takes as long as its requests; requests of other threads may come between them. On a
/// closed device the functions fail at once.
namespace orvik::firmware {

/// @param data at most 65535 bytes
/// @param request 0xA0, or another one that addresses memory in the same way
bool writeMemory(VendorLink& link, std::uint32_t address, std::span<const std::uint8_t> data,
                 VendorRequest request);
bool readMemory(VendorLink& link, std::uint32_t address, std::span<std::uint8_t> data,
                VendorRequest request);

/// Sends the entry address of the program. The halves of the address are in the opposite order to
/// a write.
bool setProgramEntry(VendorLink& link, std::uint32_t address, VendorRequest request);

/// Writes an image into RAM and reads each part back. Each part is written three times, because the
/// memory of the boot loader may need it; the third time decides.
FX3_FWDWNLOAD_ERROR_CODE loadImage(VendorLink& link, const Image& image, VendorRequest request);

/// Starts the program at `entry`.
/// @return whether the bridge acknowledged it. It may leave the bus instead when the program
///   starts.
bool jumpTo(VendorLink& link, std::uint32_t entry, VendorRequest request);

/// Calls loadImage() and starts the program.
/// @return FWDWNLOAD_SUCCESS when the bridge has acknowledged the start or has left the bus.
FX3_FWDWNLOAD_ERROR_CODE startImage(VendorLink& link, seam::Clock& clock, const Image& image);

/// Holds the processor of the bridge in reset, or releases it; it then starts at address 0.
bool holdProcessor(VendorLink& link, bool hold);

/// Loads a record stream with the processor held, and starts it. Failed transfers are ignored,
/// because programs expect this.
void runRecords(VendorLink& link, const std::vector<Record>& records);

/// Loads a record stream with the processor held and starts it. Each part is written and read back
/// up to three times. If a part fails, the processor stays held, so that no incomplete program
/// runs. If the processor cannot be held, nothing is written and the present program goes on.
/// @return as startImage()
FX3_FWDWNLOAD_ERROR_CODE startRecords(VendorLink& link, seam::Clock& clock,
                                      const std::vector<Record>& records);

}  // namespace orvik::firmware
