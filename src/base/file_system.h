// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>

namespace orvik {

/// The calls of the file system that the library makes, one by one: a test can let each of them
/// fail. Nothing here throws but for want of memory. Any thread.
class FileSystem {
 public:
  FileSystem() = default;
  FileSystem(const FileSystem&) = delete;
  FileSystem& operator=(const FileSystem&) = delete;
  virtual ~FileSystem() = default;

  /// The machine's own.
  static FileSystem& system();

  enum class Read : std::uint8_t {
    kDone,
    kMissing,
    kUnfit,   ///< not a regular file, or longer than the limit
    kFailed,  ///< it may be well, but cannot be read now
  };
  /// Reads a whole file of at most `limit` bytes.
  virtual Read read(const std::filesystem::path& file, std::size_t limit, std::string& text);

  /// What a file's name leads to, through symbolic links; the name itself where it is none. It need
  /// not exist.
  virtual std::filesystem::path behindLinks(const std::filesystem::path& file);

  /// What keeps this user from reading a file and putting a new one in its place, as far as it
  /// shows without writing. The folders above it may be missing. @return an errno, or 0
  virtual int obstacleTo(const std::filesystem::path& file);

  /// Makes a folder and those above it, for the user alone. @return whether it is there.
  virtual bool makeFolder(const std::filesystem::path& folder);

  /// Opens a file to be locked, and makes it where it is missing. @return a descriptor, or -1.
  virtual int openLock(const std::filesystem::path& file);
  /// Locks an open file against every other opening of it. Does not wait.
  virtual bool tryLock(int descriptor);

  /// Opens a file to be written anew. @return a descriptor, or -1.
  virtual int openNew(const std::filesystem::path& file);
  /// Writes all. May have written a part when it fails.
  virtual bool write(int descriptor, std::string_view text);
  /// Waits until the disk has the file's contents, or a folder's names.
  virtual bool sync(int descriptor);
  virtual bool syncFolder(const std::filesystem::path& folder);
  virtual void close(int descriptor);

  /// Gives a file a name, in the place of what has that name.
  virtual bool rename(const std::filesystem::path& from, const std::filesystem::path& to);
  /// Gives a file a name that nothing has yet. Somebody else may not be at it.
  virtual bool renameToNew(const std::filesystem::path& from, const std::filesystem::path& to);
};

}  // namespace orvik
