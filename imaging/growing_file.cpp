// SPDX-License-Identifier: MIT
#include "imaging/growing_file.h"

#include <cerrno>
#include <system_error>
#include <utility>

#include "imaging/save_file.h"

namespace orvik::imaging {

GrowingFile::GrowingFile(std::filesystem::path file, bool overwrite, FileSystem& fileSystem)
    : file_(std::move(file)), fileSystem_(fileSystem) {
  refuseExisting(file_, overwrite);
  descriptor_ = fileSystem_.open(file_, FileSystem::Open::kNew);
  ours_ = descriptor_ >= 0;
  if (!ours_ && errno == EEXIST && overwrite) {
    descriptor_ = fileSystem_.open(file_, FileSystem::Open::kExisting);
  }
  if (descriptor_ < 0) failWrite(file_, errno);
}

int GrowingFile::append(std::span<const std::uint8_t> piece) {
  if (!ours_) {
    cutTo(0);  // not earlier: a recording without a frame keeps the existing file
    ours_ = true;
  }
  const int error = fileSystem_.write(descriptor_, size_, piece);
  if (error == 0) {
    size_ += piece.size();
  } else {
    cutTo(size_);
  }
  return error;
}

int GrowingFile::replace(std::uint64_t offset, std::span<const std::uint8_t> bytes) {
  return fileSystem_.write(descriptor_, offset, bytes);
}

int GrowingFile::close() {
  if (descriptor_ < 0) return 0;
  const int error = fileSystem_.close(std::exchange(descriptor_, -1));
  if (size_ == 0 && ours_) {
    std::error_code ignored;
    std::filesystem::remove(file_, ignored);
  }
  return error;
}

void GrowingFile::cutTo(std::uint64_t size) {
  // Devices cannot be truncated, and need not be.
  static_cast<void>(fileSystem_.truncate(descriptor_, size));
}

}  // namespace orvik::imaging
