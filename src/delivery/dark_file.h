// SPDX-License-Identifier: MIT
/// The file of a dark frame: a BMP of 8 bits per pixel with a grey palette, of the sensor's size.
///
/// The rows stand in the order of the frame, the top one first, without padding, although the
/// header gives the height as positive: a viewer shows the picture upside down. Reading and writing
/// agree on it. All functions may be called from any thread.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>

#include "base/file_system.h"

namespace orvik {

enum class DarkFileResult : int {
  kNotUsable = 0,   ///< not an 8-bit bitmap, or cut off
  kDone = 1,        ///< read
  kCannotOpen = 6,  ///< no such file, or no permission
  kOtherSize = 7,   ///< a bitmap of another size
};

/// Reads up to as many bytes as `bytes` has from `offset` on. @return how many there were.
using ReadAt = std::function<std::size_t(std::uint64_t offset, std::span<std::uint8_t> bytes)>;

/// Reads a dark frame.
///
/// Only what the pixels' place and meaning hang on is looked at: signature, size, depth,
/// compression, offset of the pixels. Whatever the header claims, nothing larger than `pixels` is
/// read.
/// @param pixels width * height bytes; receives the picture, and on failure is left undefined
DarkFileResult readDarkFile(const ReadAt& readAt, int width, int height,
                            std::span<std::uint8_t> pixels);

/// Reads a dark frame from a file; one that is not a regular file is not usable.
DarkFileResult readDarkFile(const std::string& path, int width, int height,
                            std::span<std::uint8_t> pixels);

/// Writes a dark frame. The file appears under its name only when it is complete and on the disk;
/// until then, and on failure, an older one of that name stays as it was.
/// @param pixels width * height bytes
/// @return false when it could not be written, or `path` is something else than a regular file.
bool writeDarkFile(const std::string& path, int width, int height,
                   std::span<const std::uint8_t> pixels, FileSystem& files = FileSystem::system());

}  // namespace orvik
