// SPDX-License-Identifier: MIT
#include "tools/orvikctl/output/atomic_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string>
#include <system_error>
#include <utility>

#include "tools/orvikctl/failure.h"

namespace orvik::ctl {
namespace fs = std::filesystem;
namespace {

[[noreturn]] void failExisting(const fs::path& file) {
  throw Failure(ExitCode::kFileFailed,
                file.string() + " exists already. Choose another --output, or add --overwrite.");
}

/// Renames without replacing; false if the file system cannot do that.
bool renameToNew(const fs::path& from, const fs::path& to) {
  if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return true;
  if (errno == EEXIST) failExisting(to);
  if (errno == EINVAL || errno == ENOSYS) return false;
  failWrite(to, errno);
}

}  // namespace

AtomicFile::AtomicFile(fs::path target, bool overwrite)
    : target_(std::move(target)), temporary_(target_), overwrite_(overwrite) {
  refuseExisting(target_, overwrite_);
  temporary_ += ".part-" + std::to_string(getpid());
}

AtomicFile::~AtomicFile() {
  std::error_code ignored;
  fs::remove(temporary_, ignored);
}

void AtomicFile::commit() {
  if (!overwrite_ && renameToNew(temporary_, target_)) return;
  refuseExisting(target_, overwrite_);
  if (rename(temporary_.c_str(), target_.c_str()) != 0) failWrite(target_, errno);
}

void refuseExisting(const fs::path& file, bool overwrite) {
  std::error_code ignored;
  if (!overwrite && fs::exists(fs::symlink_status(file, ignored))) failExisting(file);
}

void requireFolder(const fs::path& file) {
  const fs::path folder = file.has_parent_path() ? file.parent_path() : fs::path(".");
  std::error_code ignored;
  if (fs::is_directory(folder, ignored)) return;
  throw Failure(ExitCode::kFileFailed, "there is no folder " + folder.string() +
                                           ". Create it, or choose another "
                                           "--output.");
}

std::string writeErrorText(const fs::path& file, int errorNumber) {
  std::string message =
      "cannot write " + file.string() + ": " + std::generic_category().message(errorNumber) + ".";
  if (errorNumber == ENOSPC || errorNumber == EDQUOT || errorNumber == EFBIG) {
    message += " Make room, or choose an --output on another disk.";
  }
  return message;
}

void failWrite(const fs::path& file, int errorNumber) {
  throw Failure(ExitCode::kFileFailed, writeErrorText(file, errorNumber));
}

}  // namespace orvik::ctl
