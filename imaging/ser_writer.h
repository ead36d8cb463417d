// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

#include "imaging/file_system.h"
#include "imaging/frame_sink.h"
#include "imaging/growing_file.h"

namespace orvik::imaging {

/// SER video, version 3: a header of 178 bytes, the frames as delivered, and the time stamp of
/// each.
///
/// The frame count in the header is updated after each frame, so that the file can be read even if
/// the program was killed. If the disk is full, the frame that did not fit is lost; those before it
/// stay readable. Without a frame no file is created. An existing file is kept until the first
/// frame comes.
class SerWriter final : public FrameSink {
 public:
  /// @throws FileError if the file exists and may not be replaced, or not be created
  SerWriter(std::filesystem::path file, bool overwrite,
            FileSystem& fileSystem = FileSystem::system());
  ~SerWriter() override;
  SerWriter(const SerWriter&) = delete;
  SerWriter& operator=(const SerWriter&) = delete;

  /// All frames must be of the size and type of the first; otherwise std::invalid_argument.
  void write(const Image& image) override;
  void finish() override;
  [[nodiscard]] std::vector<std::filesystem::path> files() const override;

 private:
  void finishQuietly();
  /// @return 0 or an errno
  int writeFrame(const Image& image);

  GrowingFile file_;
  ImageInfo first_;
  std::vector<std::int64_t> times_;  // in ticks of 100 ns, one for each whole frame in the file
};

}  // namespace orvik::imaging
