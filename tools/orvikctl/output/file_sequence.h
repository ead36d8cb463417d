// SPDX-License-Identifier: MIT
#pragma once

#include "tools/orvikctl/output/frame_sink.h"
#include "tools/orvikctl/output/image_writer.h"
#include "tools/orvikctl/output/name_pattern.h"

namespace orvik::ctl {

/// A file for each frame, numbered from 1. Each appears under its name once it is complete.
class FileSequence : public FrameSink {
 public:
  /// @throws Failure (kFileFailed) if one of the files exists and may not be replaced
  FileSequence(std::unique_ptr<ImageWriter> writer, NamePattern pattern,
               std::optional<std::int64_t> frames, bool overwrite);

  void write(const Image& image) override;
  void finish() override {}
  [[nodiscard]] std::vector<std::filesystem::path> files() const override { return files_; }

 private:
  std::unique_ptr<ImageWriter> writer_;
  NamePattern pattern_;
  bool overwrite_;
  std::vector<std::filesystem::path> files_;
};

}  // namespace orvik::ctl
