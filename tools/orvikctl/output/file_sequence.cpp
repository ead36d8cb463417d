// SPDX-License-Identifier: MIT
#include "tools/orvikctl/output/file_sequence.h"

#include <utility>

#include "tools/orvikctl/output/atomic_file.h"

namespace orvik::ctl {

FileSequence::FileSequence(std::unique_ptr<ImageWriter> writer, NamePattern pattern,
                           std::optional<std::int64_t> frames, bool overwrite)
    : writer_(std::move(writer)), pattern_(std::move(pattern)), overwrite_(overwrite) {
  // A series that would stop half-way at an older file had better not begin.
  for (std::int64_t number = 1; number <= frames.value_or(1); ++number) {
    refuseExisting(pattern_.name(number), overwrite_);
  }
}

void FileSequence::write(const Image& image) {
  const auto name = pattern_.name(static_cast<std::int64_t>(files_.size()) + 1);
  AtomicFile file(name, overwrite_);
  writer_->write(image, file.temporary());
  file.commit();
  files_.push_back(name);
}

}  // namespace orvik::ctl
