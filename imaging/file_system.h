// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <filesystem>
#include <span>

namespace orvik::imaging {

/// The calls that write files, one by one, so that a test can let each of them fail. Unless it says
/// otherwise, a function returns 0 or an errno.
class FileSystem {
 public:
  FileSystem() = default;
  FileSystem(const FileSystem&) = delete;
  FileSystem& operator=(const FileSystem&) = delete;
  virtual ~FileSystem() = default;

  /// The machine's own file system.
  static FileSystem& system();

  enum class Open : std::uint8_t {
    kNew,       ///< creates the file; fails if the name exists
    kEmptied,   ///< creates the file, or empties an existing one
    kExisting,  ///< opens an existing file and keeps its contents
  };
  /// Opens a file for writing.
  /// @return a descriptor, or -1 with errno set
  virtual int open(const std::filesystem::path& file, Open how);
  /// Writes all bytes at an offset. May have written some of them when it fails.
  virtual int write(int descriptor, std::uint64_t offset, std::span<const std::uint8_t> bytes);
  virtual int truncate(int descriptor, std::uint64_t size);
  /// Waits until the contents of the file are on the disk.
  virtual int sync(int descriptor);
  virtual int close(int descriptor);

  /// Renames a file and replaces an existing file of that name.
  virtual int rename(const std::filesystem::path& from, const std::filesystem::path& to);
  /// Renames a file; EEXIST if the name exists, EINVAL or ENOSYS if the file system cannot do this.
  virtual int renameToNew(const std::filesystem::path& from, const std::filesystem::path& to);
};

}  // namespace orvik::imaging
