// SPDX-License-Identifier: MIT
/// The file of a dark frame: a BMP of the size of the sensor, with 8 bits per pixel and a grey
/// palette.
///
/// The rows are in the order of the frame, the top one first, without padding, although the height
/// in the header is positive: a viewer shows the image upside down. Reading and writing are
/// consistent. All functions may be called from any thread.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>

#include "base/file_system.h"

namespace orvik {

enum class DarkFileResult : int {
  kNotUsable = 0,   ///< not an 8-bit bitmap, truncated, or too large for the memory
  kDone = 1,        ///< read
  kCannotOpen = 6,  ///< no such file, or no permission
  kOtherSize = 7,   ///< a bitmap of another size
};

/// Reads up to bytes.size() bytes from `offset` on. @return how many were read.
using ReadAt = std::function<std::size_t(std::uint64_t offset, std::span<std::uint8_t> bytes)>;

/// Reads a dark frame.
///
/// Checks only the fields that determine the position and meaning of the pixels: signature, size,
/// depth, compression, offset of the pixels. Never reads more than `pixels` can hold, whatever the
/// header says.
/// @param pixels width * height bytes; receives the image; undefined on failure
DarkFileResult readDarkFile(const ReadAt& readAt, int width, int height,
                            std::span<std::uint8_t> pixels);

/// Reads a dark frame from a file; one that is not a regular file is not usable.
DarkFileResult readDarkFile(const std::string& path, int width, int height,
                            std::span<std::uint8_t> pixels);

/// Writes a dark frame. The file appears under its name only when it is complete and on the disk;
/// until then, and on failure, an older file of that name stays unchanged.
/// @param pixels width * height bytes
/// @return false when it could not be written, or `path` exists and is not a regular file.
bool writeDarkFile(const std::string& path, int width, int height,
                   std::span<const std::uint8_t> pixels, FileSystem& files = FileSystem::system());

}  // namespace orvik
