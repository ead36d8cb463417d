// SPDX-License-Identifier: MIT
#include "imaging/file_sequence.h"

#include <utility>

#include "imaging/save_file.h"

namespace orvik::imaging {

FileSequence::FileSequence(ImageEncoder encode, NamePattern pattern,
                           std::optional<std::int64_t> frames, bool overwrite,
                           FileSystem& fileSystem)
    : encode_(encode),
      pattern_(std::move(pattern)),
      overwrite_(overwrite),
      fileSystem_(fileSystem) {
  // A series that would stop half-way at an existing file is refused before it begins.
  for (std::int64_t number = 1; number <= frames.value_or(1); ++number) {
    refuseExisting(pattern_.name(number), overwrite_);
  }
}

void FileSequence::write(const Image& image) {
  const auto name = pattern_.name(static_cast<std::int64_t>(files_.size()) + 1);
  saveFile(name, encode_(image), overwrite_, fileSystem_);
  files_.push_back(name);
}

}  // namespace orvik::imaging
