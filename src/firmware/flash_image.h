// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>

#include "link/flash_port.h"
#include "orvik/class_types.h"

/// Firmware in the camera's SPI flash, from the flash's beginning. The caller has the bus (see
/// FlashSession).
namespace orvik::firmware {

/// The flash behind this address holds the table of hot pixels and the user's mark.
inline constexpr std::size_t kFirmwareAreaBytes = 0x40000;

/// Long work, step by step, as those who wait for it are told.
enum class FlashStep : std::uint8_t { kErase, kWrite, kRead };
/// Called on the working thread with the bytes done so far of those of the step.
using FlashProgress = std::function<void(FlashStep step, std::size_t done, std::size_t total)>;

/// Erases the sectors that an image touches and writes it; each request is tried up to three times.
/// The image's beginning, with the signature that a bridge looks for, is erased first and written
/// last, so that no bridge starts from an incomplete image. Interrupted, it can be done again from
/// the start.
/// @param port must outlive the call; @param progress may be empty
/// @return FWDWNLOAD_SUCCESS, _FAILED, _ERASE_FAILED, or _NO_FILE when no flash takes so much
FX3_FWDWNLOAD_ERROR_CODE writeFlashImage(FlashPort& port, std::span<const std::uint8_t> image,
                                         const FlashProgress& progress = {});

/// The same with verification: what follows the beginning is read back and compared before the
/// beginning is written, and the whole image at the end.
/// @param[out] same whether it was; changed on success only
FX3_FWDWNLOAD_ERROR_CODE writeVerifiedFlashImage(FlashPort& port,
                                                 std::span<const std::uint8_t> image, bool& same,
                                                 const FlashProgress& progress = {});

/// Reads a stretch of the flash; each request up to three times.
/// @param address of a page
bool readFlash(FlashPort& port, std::uint32_t address, std::span<std::uint8_t> bytes,
               const FlashProgress& progress = {});

/// Compares the flash's beginning with an image.
/// @param[out] same changed on success only
/// @return whether the flash could be read.
bool compareFlashImage(FlashPort& port, std::span<const std::uint8_t> image, bool& same,
                       const FlashProgress& progress = {});

}  // namespace orvik::firmware
