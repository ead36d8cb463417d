// SPDX-License-Identifier: MIT
#include "imaging/file_system.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

namespace orvik::imaging {
namespace {

constexpr mode_t kFileMode = 0666;  // less the user's umask

int flagsOf(FileSystem::Open how) {
  switch (how) {
    case FileSystem::Open::kNew:
      return O_CREAT | O_EXCL;
    case FileSystem::Open::kEmptied:
      return O_CREAT | O_TRUNC;
    case FileSystem::Open::kExisting:
      break;
  }
  return 0;
}

int errorOf(int result) { return result == 0 ? 0 : errno; }

}  // namespace

FileSystem& FileSystem::system() {
  static FileSystem instance;
  return instance;
}

int FileSystem::open(const std::filesystem::path& file, Open how) {
  return ::open(file.c_str(), O_WRONLY | O_CLOEXEC | flagsOf(how), kFileMode);
}

int FileSystem::write(int descriptor, std::uint64_t offset, std::span<const std::uint8_t> bytes) {
  while (!bytes.empty()) {
    const ssize_t written =
        ::pwrite(descriptor, bytes.data(), bytes.size(), static_cast<off_t>(offset));
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return written < 0 ? errno : EIO;
    offset += static_cast<std::uint64_t>(written);
    bytes = bytes.subspan(static_cast<std::size_t>(written));
  }
  return 0;
}

int FileSystem::truncate(int descriptor, std::uint64_t size) {
  return errorOf(::ftruncate(descriptor, static_cast<off_t>(size)));
}

int FileSystem::sync(int descriptor) { return errorOf(::fsync(descriptor)); }

int FileSystem::close(int descriptor) { return errorOf(::close(descriptor)); }

int FileSystem::rename(const std::filesystem::path& from, const std::filesystem::path& to) {
  return errorOf(::rename(from.c_str(), to.c_str()));
}

int FileSystem::renameToNew(const std::filesystem::path& from, const std::filesystem::path& to) {
  return errorOf(::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE));
}

}  // namespace orvik::imaging
