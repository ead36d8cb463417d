// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <filesystem>
#include <span>

#include "imaging/file_system.h"

namespace orvik::imaging {

/// A file that grows piece by piece and holds whole pieces only. An existing file is kept until the
/// first piece comes; without a piece no file is created. One thread at a time.
class GrowingFile {
 public:
  /// @throws FileError if the file exists and may not be replaced, or cannot be created
  GrowingFile(std::filesystem::path file, bool overwrite, FileSystem& fileSystem);
  ~GrowingFile() { close(); }
  GrowingFile(const GrowingFile&) = delete;
  GrowingFile& operator=(const GrowingFile&) = delete;

  [[nodiscard]] const std::filesystem::path& path() const { return file_; }
  [[nodiscard]] bool isOpen() const { return descriptor_ >= 0; }

  // These return 0 or an errno.
  /// Adds a piece. If it fails the file has what it had before.
  int append(std::span<const std::uint8_t> piece);
  /// Writes into an earlier piece.
  int replace(std::uint64_t offset, std::span<const std::uint8_t> bytes);
  /// Closes the file; removes it if it is empty.
  int close();

  /// Drops all pieces.
  void clear() { cutTo(size_ = 0); }

 private:
  void cutTo(std::uint64_t size);

  std::filesystem::path file_;
  FileSystem& fileSystem_;
  int descriptor_ = -1;
  bool ours_ = false;  // whether everything in the file was written by this object
  std::uint64_t size_ = 0;
};

}  // namespace orvik::imaging
