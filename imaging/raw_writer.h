// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

#include "imaging/frame_sink.h"
#include "imaging/growing_file.h"

namespace orvik::imaging {

/// The bytes of the frames one after the other, without any header. Otherwise as SerWriter.
class RawWriter final : public FrameSink {
 public:
  /// @throws FileError if the file exists and may not be replaced, or not be created
  RawWriter(std::filesystem::path file, bool overwrite,
            FileSystem& fileSystem = FileSystem::system());

  /// All frames must be of the size and type of the first; otherwise std::invalid_argument.
  void write(const Image& image) override;
  void finish() override;
  [[nodiscard]] std::vector<std::filesystem::path> files() const override;

 private:
  GrowingFile file_;
  ImageInfo first_;
  std::size_t frames_ = 0;
};

}  // namespace orvik::imaging
