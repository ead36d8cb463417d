// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "imaging/file_system.h"
#include "imaging/frame_sink.h"
#include "imaging/image_encoder.h"
#include "imaging/name_pattern.h"

namespace orvik::imaging {

/// A file for each frame, numbered from the first on. Each appears under its name when it is
/// complete.
class FileSequence : public FrameSink {
 public:
  /// @throws FileError if one of the files exists and may not be replaced
  FileSequence(ImageEncoder encode, NamePattern pattern, std::int64_t first,
               std::optional<std::int64_t> frames, bool overwrite, FileSystem& fileSystem);

  void write(const Image& image) override;
  void finish() override {}
  [[nodiscard]] std::vector<std::filesystem::path> files() const override { return files_; }

 private:
  ImageEncoder encode_;
  NamePattern pattern_;
  std::int64_t first_;
  bool overwrite_;
  FileSystem& fileSystem_;
  std::vector<std::filesystem::path> files_;
};

}  // namespace orvik::imaging
