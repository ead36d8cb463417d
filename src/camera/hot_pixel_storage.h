// SPDX-License-Identifier: MIT
/// The table of hot pixels in the camera's flash: it travels with the sensor that it describes.
#pragma once

#include <optional>
#include <span>

#include "algorithm/hot_pixel_table.h"
#include "camera/flash_port.h"

namespace orvik {

/// Compresses the table, erases the sectors that it needs, writes and verifies it.
///
/// The bus is with the pixel stream again in the end, whatever happens. A table that does not fit
/// and an erasure that fails leave the flash as it was before that step; a save that breaks off can
/// be repeated.
/// @return whether all of it was written and read back the same.
/// @par Thread: any, one at a time, not during capture. Takes seconds.
bool saveHotPixels(FlashPort& port, std::span<const std::uint8_t> table);

/// What could be read of a stored table.
struct LoadedHotPixels {
  std::optional<HotPixelTable> table;  ///< none: nothing usable is stored
  bool isComplete = false;             ///< false: pages at the end could not be read
};

/// Reads a table. Nothing that is stored there can do harm.
/// @param tableBytes of the sensor's table
/// @par Thread: as for saveHotPixels(). One request when no table is stored.
LoadedHotPixels loadHotPixels(FlashPort& port, std::size_t tableBytes);

}  // namespace orvik
