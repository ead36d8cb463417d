// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <string>

namespace orvik::ctl {

/// A file that appears under its name only when it is complete.
///
/// Write to temporary(), then commit(). Without a commit the destructor removes what was written.
class AtomicFile {
 public:
  /// @param target the final name
  /// @param overwrite whether an existing file may be replaced
  /// @throws Failure (kFileFailed) if the file exists and may not be replaced
  AtomicFile(std::filesystem::path target, bool overwrite);
  ~AtomicFile();
  AtomicFile(const AtomicFile&) = delete;
  AtomicFile& operator=(const AtomicFile&) = delete;

  /// Where to write: a name beside the target.
  [[nodiscard]] const std::filesystem::path& temporary() const { return temporary_; }

  /// Gives the file its name. @throws Failure (kFileFailed); the temporary file is then removed
  void commit();

 private:
  std::filesystem::path target_;
  std::filesystem::path temporary_;
  bool overwrite_;
};

/// Throws a Failure (kFileFailed) if `file` exists and may not be replaced.
void refuseExisting(const std::filesystem::path& file, bool overwrite);

/// Throws a Failure (kFileFailed) unless the folder that is to hold `file` exists.
void requireFolder(const std::filesystem::path& file);

/// "cannot write FILE: REASON.", with a hint where the disk is full.
std::string writeErrorText(const std::filesystem::path& file, int errorNumber);

/// Throws that text as a Failure (kFileFailed).
[[noreturn]] void failWrite(const std::filesystem::path& file, int errorNumber);

}  // namespace orvik::ctl
