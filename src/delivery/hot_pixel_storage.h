// SPDX-License-Identifier: MIT
/// The table of hot pixels in the flash of the camera, where it stays with its sensor.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "algorithm/hot_pixel_table.h"
#include "link/flash_port.h"

namespace orvik {

/// How saving a table ended.
enum class HotPixelSaving : std::uint8_t {
  kDone,    ///< the table was written and verified
  kNoRoom,  ///< the table has too many pixels for the stored form; the flash is unchanged
  kFailed,  ///< a request failed, or the data read back differ
};

/// Converts the table to its stored form, erases the sectors that it needs, writes and verifies it.
///
/// Nothing is erased before the flash has the bus. In the end the pixel stream always has the bus
/// again. If a save fails after erasing, there is no table in the flash; the save can be repeated.
/// @par Thread: any, one at a time, not during capture. Takes seconds.
HotPixelSaving saveHotPixels(FlashPort& port, std::span<const std::uint8_t> table);

/// The part of a stored table that could be read.
struct LoadedHotPixels {
  std::optional<HotPixelTable> table;  ///< empty if nothing usable is stored
  bool isComplete = false;             ///< false if pages at the end could not be read
};

/// Reads a table. Any contents of the flash are handled safely.
/// @param tableBytes size of the table of this sensor
/// @par Thread: as for saveHotPixels(). Takes one request when no table is stored.
LoadedHotPixels loadHotPixels(FlashPort& port, std::size_t tableBytes);

}  // namespace orvik
