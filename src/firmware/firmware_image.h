// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "orvik/class_types.h"

/// The two file formats of firmware. Pure functions that accept any bytes; an image is parsed
/// completely before any of it is sent to a camera. The results point into the image.
namespace orvik::firmware {

/// The largest memory of a camera: SPI flash is addressed by 65536 pages of 256 bytes.
inline constexpr std::size_t kMaxImageBytes = std::size_t{1} << 24U;

/// RAM is written in parts of at most this many bytes.
inline constexpr std::size_t kChunkBytes = 2048;

/// An address and the data to be written there.
struct Section {
  std::uint32_t address = 0;
  std::span<const std::uint8_t> data;
};

/// A firmware image: the bytes "CY", a control byte, a type byte, then sections, little-endian: the
/// number of 32-bit words, the load address, the words. A section without words ends the image; its
/// address is the entry of the program. A checksum may follow; it is not checked.
struct Image {
  std::vector<Section> sections;
  std::uint32_t entry = 0;
};

/// @param[out] image changed on success only
/// @return FWDWNLOAD_SUCCESS, _NO_SIGNATURE, _SECTION_OVERRUN or _CHUNK_OVERRUN
FX3_FWDWNLOAD_ERROR_CODE parseImage(std::span<const std::uint8_t> bytes, Image& image);

/// The size in bytes of the EEPROM for which an image is made: bits 1 to 3 of its control byte.
/// @return nothing when they encode no size, or the image has no control byte.
std::optional<std::uint32_t> eepromBytesOf(std::span<const std::uint8_t> bytes);

/// A record of a record stream, the format of the USB 2 bridge.
struct Record {
  std::uint16_t address = 0;
  std::span<const std::uint8_t> data;
};

/// Parses a record stream, which begins at byte 8. A record consists of its length and its address,
/// 16 bits each, high byte first, and the data; the four bytes 80 01 E6 00 in place of a record end
/// the stream.
/// @return nothing when the end is missing.
std::optional<std::vector<Record>> parseRecords(std::span<const std::uint8_t> bytes);

}  // namespace orvik::firmware
