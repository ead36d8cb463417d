// SPDX-License-Identifier: MIT
#pragma once

#include "camera/vendor_link.h"
#include "orvik/orvik.h"
#include "seam/clock.h"

/// The user's mark of a camera, in a page of the SPI flash: the bytes "ID", then the 32 of the
/// mark, then zeros. Its sector holds nothing else.
namespace orvik::firmware {

/// @param[out] id changed on success only
bool readId(VendorLink& link, Orvik_ID& id);

/// Erases the sector, writes the page and reads it back, up to three times.
bool writeId(VendorLink& link, seam::Clock& clock, const Orvik_ID& id);

}  // namespace orvik::firmware
