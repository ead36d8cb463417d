// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "imaging/byte_sink.h"
#include "imaging/file_system.h"

namespace orvik::imaging {

/// Makes the contents of a file.
using FileContents = std::function<void(ByteSink&)>;

/// Writes a file, which appears under its name only when it is complete.
///
/// The bytes go into a temporary file beside it, which is then renamed. An existing file is
/// replaced only after the new contents are on the disk, so that a loss of power leaves one of the
/// two.
///
/// @param overwrite whether an existing file may be replaced
/// @throws FileError if the file exists and may not be replaced, or cannot be written;
///         the temporary file is then removed, and an existing file is as it was
void saveFile(const std::filesystem::path& file, std::span<const std::uint8_t> bytes,
              bool overwrite, FileSystem& files = FileSystem::system());

/// The same with contents that are made while they are written.
///
/// @return bytes of the file
/// @throws also what `write` throws
std::uint64_t saveFile(const std::filesystem::path& file, const FileContents& write, bool overwrite,
                       FileSystem& files = FileSystem::system());

/// Replaces a file, or creates it, without waiting for the disk: after a loss of power it may be
/// empty. For small files that are written again and again. @throws FileError
void saveFileUnsynced(const std::filesystem::path& file, std::span<const std::uint8_t> bytes,
                      FileSystem& files = FileSystem::system());

/// Throws a FileExists if `file` exists and may not be replaced.
void refuseExisting(const std::filesystem::path& file, bool overwrite);

/// Throws a FileError unless the folder that is to hold `file` exists.
void requireFolder(const std::filesystem::path& file);

/// "cannot write FILE: REASON.", with a hint if the disk is full.
std::string writeErrorText(const std::filesystem::path& file, int errorNumber);

/// " The file keeps the N frames before.", to follow that text; "" without any.
std::string keptFramesText(std::size_t frames);

/// Throws the text of an error as a FileError.
[[noreturn]] void failWrite(const std::filesystem::path& file, int errorNumber);

/// The memory of numbers, as files hold them.
template <typename Number>
std::span<const std::uint8_t> bytesOf(const std::vector<Number>& numbers) {
  return {reinterpret_cast<const std::uint8_t*>(numbers.data()), numbers.size() * sizeof(Number)};
}

}  // namespace orvik::imaging
