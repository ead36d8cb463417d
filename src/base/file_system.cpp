// SPDX-License-Identifier: MIT
#include "base/file_system.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace orvik {
namespace fs = std::filesystem;
namespace {

constexpr mode_t kFileMode = 0644;
constexpr int kMaxLinks = 40;  ///< in a row; the limit of the kernel

/// Checks whether this user may access a file with `mode`. @return an errno, or 0
int accessError(const fs::path& file, int mode) {
  return ::faccessat(AT_FDCWD, file.c_str(), mode, AT_EACCESS) == 0 ? 0 : errno;
}

/// Closes a descriptor at the end of a scope.
class Closer {
 public:
  explicit Closer(int descriptor) : descriptor_(descriptor) {}
  Closer(const Closer&) = delete;
  Closer& operator=(const Closer&) = delete;
  ~Closer() { ::close(descriptor_); }

 private:
  int descriptor_;
};

}  // namespace

FileSystem& FileSystem::system() {
  static FileSystem instance;
  return instance;
}

FileSystem::Read FileSystem::read(const fs::path& file, std::size_t limit, std::string& text) {
  // O_NONBLOCK: if the file is a pipe, opening it must not block the camera.
  const int descriptor = ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
  if (descriptor < 0) return errno == ENOENT ? Read::kMissing : Read::kFailed;
  const Closer closer(descriptor);
  struct stat status = {};
  if (fstat(descriptor, &status) != 0) return Read::kFailed;
  if (!S_ISREG(status.st_mode)) return Read::kUnfit;
  // Asks for one byte more than the file has, to notice a file that grows meanwhile.
  const auto size = static_cast<std::size_t>(status.st_size);
  if (size > limit) return Read::kUnfit;
  text.resize(size + 1);
  std::size_t done = 0;
  while (done < text.size()) {
    const ssize_t count = ::read(descriptor, text.data() + done, text.size() - done);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return Read::kFailed;
    if (count == 0) break;
    done += static_cast<std::size_t>(count);
  }
  if (done > size) return Read::kFailed;
  text.resize(done);
  return Read::kDone;
}

fs::path FileSystem::behindLinks(const fs::path& file) {
  fs::path place = file;
  std::error_code error;
  for (int n = 0; n < kMaxLinks; ++n) {
    const fs::path target = fs::read_symlink(place, error);
    if (error) break;  // no link
    place = place.parent_path() / target;
  }
  return place;
}

int FileSystem::obstacleTo(const fs::path& file) {
  const fs::path place = behindLinks(file);
  const int unreadable = accessError(place, R_OK);
  if (unreadable != 0 && unreadable != ENOENT) return unreadable;
  fs::path folder = place.parent_path();
  while (folder.has_relative_path() && accessError(folder, F_OK) == ENOENT) {
    folder = folder.parent_path();
  }
  std::error_code error;
  if (!fs::is_directory(folder, error)) return error ? error.value() : ENOTDIR;
  return accessError(folder, W_OK | X_OK);
}

bool FileSystem::makeFolder(const fs::path& folder) {
  std::error_code error;
  if (fs::is_directory(folder, error)) return true;
  if (folder.has_relative_path()) makeFolder(folder.parent_path());
  return ::mkdir(folder.c_str(), S_IRWXU) == 0 || errno == EEXIST;
}

int FileSystem::openLock(const fs::path& file) {
  return ::open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, kFileMode);
}

bool FileSystem::tryLock(int descriptor) { return ::flock(descriptor, LOCK_EX | LOCK_NB) == 0; }

int FileSystem::openNew(const fs::path& file) {
  return ::open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK,
                kFileMode);
}

bool FileSystem::write(int descriptor, std::string_view text) {
  while (!text.empty()) {
    const ssize_t count = ::write(descriptor, text.data(), text.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    text.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

bool FileSystem::sync(int descriptor) { return ::fsync(descriptor) == 0; }

bool FileSystem::syncFolder(const fs::path& folder) {
  const int descriptor = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) return false;
  const Closer closer(descriptor);
  return ::fsync(descriptor) == 0;
}

void FileSystem::close(int descriptor) { ::close(descriptor); }

bool FileSystem::rename(const fs::path& from, const fs::path& to) {
  return ::rename(from.c_str(), to.c_str()) == 0;
}

bool FileSystem::renameToNew(const fs::path& from, const fs::path& to) {
  std::error_code error;
  return !fs::exists(fs::symlink_status(to, error)) && rename(from, to);
}

}  // namespace orvik
