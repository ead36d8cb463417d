// SPDX-License-Identifier: MIT
#pragma once

#include "link/flash_port.h"
#include "orvik/orvik.h"

/// The ID that a user gives a camera, in a page of the SPI flash: the bytes "ID", then the 32 bytes
/// of the ID, then zeros. Its sector holds nothing else.
namespace orvik::firmware {

/// @param[out] id changed on success only
bool readId(FlashPort& port, Orvik_ID& id);

/// Erases the sector, writes the page and reads it back, up to three times.
bool writeId(FlashPort& port, const Orvik_ID& id);

}  // namespace orvik::firmware
