// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>

namespace orvik::ctl {

/// An empty temporary folder. The destructor removes it with its contents.
class ScratchFolder {
 public:
  /// @throws Failure (kFileFailed) if there is no place for one
  ScratchFolder();
  ~ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  [[nodiscard]] const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

}  // namespace orvik::ctl
