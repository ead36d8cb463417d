// SPDX-License-Identifier: MIT
#include "imaging/save_file.h"

#include <unistd.h>

#include <cerrno>
#include <string>
#include <system_error>
#include <utility>

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

/// A file that is written from its beginning to its end. Errors are told of the name that it is to
/// get.
class NewFile {
 public:
  NewFile(const fs::path& file, const fs::path& target, FileSystem& files)
      : target_(target), files_(files), descriptor_(files.open(file, FileSystem::Open::kEmptied)) {
    if (descriptor_ < 0) failWrite(target_, errno);
  }
  ~NewFile() {
    if (descriptor_ >= 0) files_.close(descriptor_);
  }
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;

  [[nodiscard]] std::uint64_t size() const { return size_; }
  void write(std::span<const std::uint8_t> bytes) {
    require(files_.write(descriptor_, size_, bytes));
    size_ += bytes.size();
  }
  void sync() { require(files_.sync(descriptor_)); }
  void close() { require(files_.close(std::exchange(descriptor_, -1))); }

 private:
  void require(int error) const {
    if (error != 0) failWrite(target_, error);
  }

  const fs::path& target_;
  FileSystem& files_;
  int descriptor_;
  std::uint64_t size_ = 0;
};

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

/// @return bytes of the file
std::uint64_t save(const fs::path& file, const FileContents& write, bool overwrite, bool synced,
                   FileSystem& files) {
  fs::path temporary = file;
  temporary += ".part-" + std::to_string(getpid());
  const Remover remover(temporary);
  NewFile fresh(temporary, file, files);
  GatheringSink sink([&](std::span<const std::uint8_t> bytes) { fresh.write(bytes); });
  write(sink);
  sink.flush();
  if (synced) fresh.sync();
  fresh.close();
  if (const int error = rename(temporary, file, overwrite, files)) failWrite(file, error);
  return fresh.size();
}

FileContents contentsOf(std::span<const std::uint8_t> bytes) {
  return [bytes](ByteSink& sink) { sink.write(bytes); };
}

}  // namespace

void saveFile(const fs::path& file, std::span<const std::uint8_t> bytes, bool overwrite,
              FileSystem& files) {
  saveFile(file, contentsOf(bytes), overwrite, files);
}

std::uint64_t saveFile(const fs::path& file, const FileContents& write, bool overwrite,
                       FileSystem& files) {
  refuseExisting(file, overwrite);
  // A new file loses nothing that was there before, and a fast series must not wait for the disk.
  return save(file, write, overwrite, isTaken(file), files);
}

void saveFileUnsynced(const fs::path& file, std::span<const std::uint8_t> bytes,
                      FileSystem& files) {
  save(file, contentsOf(bytes), true, false, files);
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
