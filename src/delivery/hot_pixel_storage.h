// SPDX-License-Identifier: MIT
/// The table of hot pixels in the camera's flash: it travels with the sensor that it describes.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "algorithm/hot_pixel_table.h"
#include "link/flash_port.h"

namespace orvik {

/// How saving a table ended.
enum class HotPixelSaving : std::uint8_t {
  kDone,    ///< all of it was written and read back the same, and the table comes back from that
  kNoRoom,  ///< no stored form has room for its pixels; the flash is as it was
  kFailed,  ///< a request failed, or something else was read back
};

/// Brings the table into its stored form, erases the sectors that this needs, writes and verifies
/// it.
///
/// Nothing is erased before the bus is the flash's. The bus is with the pixel stream again in the
/// end, whatever happens. A save that breaks off later leaves no table, and can be repeated.
/// @par Thread: any, one at a time, not during capture. Takes seconds.
HotPixelSaving saveHotPixels(FlashPort& port, std::span<const std::uint8_t> table);

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
