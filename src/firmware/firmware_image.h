// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "orvik/class_types.h"

/// The two formats in which firmware comes. Pure functions that take any bytes: an image is read to
/// its end before any of it goes to a camera. What they return points into the image.
namespace orvik::firmware {

/// No memory of a camera takes more: SPI flash is addressed by 65536 pages of 256 bytes.
inline constexpr std::size_t kMaxImageBytes = std::size_t{1} << 24U;

/// RAM is written in parts of at most this many bytes.
inline constexpr std::size_t kChunkBytes = 2048;

/// A stretch of memory, and what is to stand there.
struct Section {
  std::uint32_t address = 0;
  std::span<const std::uint8_t> data;
};

/// A firmware image: the bytes "CY", a control byte, a type byte, then sections, little-endian: the
/// number of 32-bit words, the load address, the words. A section of no words ends the image; its
/// address is the program's entry. A checksum may follow and is not compared.
struct Image {
  std::vector<Section> sections;
  std::uint32_t entry = 0;
};

/// @param[out] image changed on success only
/// @return FWDWNLOAD_SUCCESS, _NO_SIGNATURE, _SECTION_OVERRUN or _CHUNK_OVERRUN
FX3_FWDWNLOAD_ERROR_CODE parseImage(std::span<const std::uint8_t> bytes, Image& image);

/// The size in bytes of the EEPROM that an image is made for: bits 1 to 3 of its control byte.
/// @return none when they name no size, or the image has no control byte.
std::optional<std::uint32_t> eepromBytesOf(std::span<const std::uint8_t> bytes);

/// A record of a record stream, the format of the USB 2 bridge.
struct Record {
  std::uint16_t address = 0;
  std::span<const std::uint8_t> data;
};

/// A record stream begins at byte 8. A record is its length and its address, 16 bits each, high
/// byte first, then the data; the four bytes 80 01 E6 00 in a record's place end the stream.
/// @return none when the stream does not come to its end.
std::optional<std::vector<Record>> parseRecords(std::span<const std::uint8_t> bytes);

}  // namespace orvik::firmware
