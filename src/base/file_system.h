// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>

namespace orvik {

/// The file system calls of the library, one by one, so that a test can let each of them fail.
/// Nothing here throws except std::bad_alloc. Any thread.
class FileSystem {
 public:
  FileSystem() = default;
  FileSystem(const FileSystem&) = delete;
  FileSystem& operator=(const FileSystem&) = delete;
  virtual ~FileSystem() = default;

  /// The file system of the machine.
  static FileSystem& system();

  enum class Read : std::uint8_t {
    kDone,
    kMissing,
    kUnfit,   ///< not a regular file, or longer than the limit
    kFailed,  ///< it may be intact, but cannot be read now
  };
  /// Reads a whole file of at most `limit` bytes.
  virtual Read read(const std::filesystem::path& file, std::size_t limit, std::string& text);

  /// Follows symbolic links. @return the final target, which need not exist; `file` if it is no
  /// link.
  virtual std::filesystem::path behindLinks(const std::filesystem::path& file);

  /// What prevents this user from reading a file and replacing it by a new one, as far as that can
  /// be found out without writing. The file and the folders above it may be missing.
  /// @return an errno, or 0
  virtual int obstacleTo(const std::filesystem::path& file);

  /// Makes a folder and those above it, accessible to the user only. @return whether it exists now.
  virtual bool makeFolder(const std::filesystem::path& folder);

  /// Opens a file for locking, and creates it if it is missing. @return a descriptor, or -1.
  virtual int openLock(const std::filesystem::path& file);
  /// Locks an open file exclusively. Does not wait. @return whether it is locked.
  virtual bool tryLock(int descriptor);

  /// Creates or truncates a file for writing. @return a descriptor, or -1.
  virtual int openNew(const std::filesystem::path& file);
  /// Writes all of the text. When it fails it may have written a part.
  virtual bool write(int descriptor, std::string_view text);
  /// Waits until the contents of a file, or the entries of a folder, are on the disk.
  virtual bool sync(int descriptor);
  virtual bool syncFolder(const std::filesystem::path& folder);
  virtual void close(int descriptor);

  /// Renames a file and replaces an existing one.
  virtual bool rename(const std::filesystem::path& from, const std::filesystem::path& to);
  /// Renames a file to a name that does not exist yet. Nobody else may create that name meanwhile.
  virtual bool renameToNew(const std::filesystem::path& from, const std::filesystem::path& to);
};

}  // namespace orvik
