// SPDX-License-Identifier: MIT
#include "imaging/save_file.h"

#include <unistd.h>

#include <cerrno>
#include <string>
#include <system_error>

#include "imaging/errors.h"

namespace orvik::imaging {
namespace fs = std::filesystem;
namespace {

[[noreturn]] void failExisting(const fs::path& file) {
  throw FileExists(file.string() + " exists already.");
}

bool isTaken(const fs::path& file) {
  std::error_code ignored;
  return fs::exists(fs::symlink_status(file, ignored));
}

/// Creates a file with these contents. @return 0 or an errno
int writeTemporary(const fs::path& file, std::span<const std::uint8_t> bytes, bool synced,
                   FileSystem& files) {
  const int descriptor = files.open(file, FileSystem::Open::kEmptied);
  if (descriptor < 0) return errno;
  int error = files.write(descriptor, 0, bytes);
  if (error == 0 && synced) error = files.sync(descriptor);
  const int closeError = files.close(descriptor);
  return error != 0 ? error : closeError;
}

/// @return 0 or an errno
int rename(const fs::path& from, const fs::path& to, bool overwrite, FileSystem& files) {
  if (overwrite) return files.rename(from, to);
  const int error = files.renameToNew(from, to);
  if (error == EEXIST) failExisting(to);
  if (error != EINVAL && error != ENOSYS) return error;
  // This file system can only replace. Between the check and the renaming another program could
  // create the file.
  refuseExisting(to, overwrite);
  return files.rename(from, to);
}

/// Removes the temporary file unless it has been renamed.
class Remover {
 public:
  explicit Remover(const fs::path& file) : file_(file) {}
  ~Remover() {
    std::error_code ignored;
    fs::remove(file_, ignored);
  }
  Remover(const Remover&) = delete;
  Remover& operator=(const Remover&) = delete;

 private:
  const fs::path& file_;
};

void save(const fs::path& file, std::span<const std::uint8_t> bytes, bool overwrite, bool synced,
          FileSystem& files) {
  fs::path temporary = file;
  temporary += ".part-" + std::to_string(getpid());
  const Remover remover(temporary);
  int error = writeTemporary(temporary, bytes, synced, files);
  if (error == 0) error = rename(temporary, file, overwrite, files);
  if (error != 0) failWrite(file, error);
}

}  // namespace

void saveFile(const fs::path& file, std::span<const std::uint8_t> bytes, bool overwrite,
              FileSystem& files) {
  refuseExisting(file, overwrite);
  // A new file loses nothing that was there before, and a fast series must not wait for the disk.
  save(file, bytes, overwrite, isTaken(file), files);
}

void saveFileUnsynced(const fs::path& file, std::span<const std::uint8_t> bytes,
                      FileSystem& files) {
  save(file, bytes, true, false, files);
}

void refuseExisting(const fs::path& file, bool overwrite) {
  if (!overwrite && isTaken(file)) failExisting(file);
}

void requireFolder(const fs::path& file) {
  const fs::path folder = file.has_parent_path() ? file.parent_path() : fs::path(".");
  std::error_code ignored;
  if (fs::is_directory(folder, ignored)) return;
  throw FileError("there is no folder " + folder.string() + ". Create it, or choose another one.");
}

std::string writeErrorText(const fs::path& file, int errorNumber) {
  std::string message =
      "cannot write " + file.string() + ": " + std::generic_category().message(errorNumber) + ".";
  if (errorNumber == ENOSPC || errorNumber == EDQUOT || errorNumber == EFBIG) {
    message += " Make room, or choose a file on another disk.";
  }
  return message;
}

std::string keptFramesText(std::size_t frames) {
  if (frames == 0) return {};
  return " The file keeps the " + std::to_string(frames) + " frames before.";
}

void failWrite(const fs::path& file, int errorNumber) {
  throw FileError(writeErrorText(file, errorNumber));
}

}  // namespace orvik::imaging
