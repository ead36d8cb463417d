// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>

#include "link/flash_port.h"
#include "orvik/class_types.h"

/// Firmware in the SPI flash of the camera, from address 0 on. The caller must have the bus (see
/// FlashSession).
namespace orvik::firmware {

/// The flash from this address on holds the table of hot pixels and the camera ID.
inline constexpr std::size_t kFirmwareAreaBytes = 0x40000;

/// The steps that are reported during long work.
enum class FlashStep : std::uint8_t { kErase, kWrite, kRead };
/// Called on the working thread. @param done, total bytes of this step
using FlashProgress = std::function<void(FlashStep step, std::size_t done, std::size_t total)>;

/// Erases the sectors that an image needs and writes it; each request is tried up to three times.
/// The beginning of the image, with the signature that a bridge looks for, is erased first and
/// written last, so that no bridge starts from an incomplete image. After an interruption it can be
/// repeated.
/// @param progress may be empty
/// @return FWDWNLOAD_SUCCESS, _FAILED, _ERASE_FAILED, or _NO_FILE when the image is too large
FX3_FWDWNLOAD_ERROR_CODE writeFlashImage(FlashPort& port, std::span<const std::uint8_t> image,
                                         const FlashProgress& progress = {});

/// The same with verification: the rest of the image is read back and compared before the beginning
/// is written, and the whole image at the end.
/// @param[out] same whether the flash equals the image; changed on success only
FX3_FWDWNLOAD_ERROR_CODE writeVerifiedFlashImage(FlashPort& port,
                                                 std::span<const std::uint8_t> image, bool& same,
                                                 const FlashProgress& progress = {});

/// Reads a part of the flash; each request is tried up to three times.
/// @param address of a page
bool readFlash(FlashPort& port, std::uint32_t address, std::span<std::uint8_t> bytes,
               const FlashProgress& progress = {});

/// Compares the beginning of the flash with an image.
/// @param[out] same changed on success only
/// @return whether the flash could be read.
bool compareFlashImage(FlashPort& port, std::span<const std::uint8_t> image, bool& same,
                       const FlashProgress& progress = {});

}  // namespace orvik::firmware
