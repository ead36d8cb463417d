// SPDX-License-Identifier: MIT
#include "imaging/file_sequence.h"

#include <utility>

#include "imaging/save_file.h"

namespace orvik::imaging {

FileSequence::FileSequence(ImageEncoder encode, NamePattern pattern, std::int64_t first,
                           std::optional<std::int64_t> frames, bool overwrite,
                           FileSystem& fileSystem)
    : encode_(encode),
      pattern_(std::move(pattern)),
      first_(first),
      overwrite_(overwrite),
      fileSystem_(fileSystem) {
  // A series that would stop half-way at an existing file is refused before it begins.
  for (std::int64_t n = 0; n < frames.value_or(1); ++n) {
    refuseExisting(pattern_.name(first_ + n), overwrite_);
  }
}

void FileSequence::write(const Image& image) {
  const auto name = pattern_.name(first_ + static_cast<std::int64_t>(files_.size()));
  saveFile(
      name, [&](ByteSink& sink) { encode_(image, sink); }, overwrite_, fileSystem_);
  files_.push_back(name);
}

}  // namespace orvik::imaging
