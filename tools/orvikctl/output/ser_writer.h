// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

#include "tools/orvikctl/output/frame_sink.h"

namespace orvik::ctl {

/// SER video, version 3: a header of 178 bytes, the frames as delivered, and the time of each.
///
/// The frame count in the header is brought up to date after each frame, so that a file whose
/// writer was killed can be read. A full disk costs the frame that did not fit; those before it
/// stay readable. Without a frame no file is left; an older one stays as it was until the first
/// frame.
class SerWriter final : public FrameSink {
 public:
  /// @throws Failure (kFileFailed) if the file exists and may not be replaced, or not be created
  SerWriter(std::filesystem::path file, bool overwrite);
  ~SerWriter() override;
  SerWriter(const SerWriter&) = delete;
  SerWriter& operator=(const SerWriter&) = delete;

  /// All frames must be of the size and type of the first; otherwise std::invalid_argument.
  void write(const Image& image) override;
  void finish() override;
  [[nodiscard]] std::vector<std::filesystem::path> files() const override;

 private:
  void finishQuietly();
  // These answer 0 or an errno.
  int writeFrame(const Image& image);
  int writeTrailer();
  int writeAt(std::uint64_t offset, const void* data, std::size_t size) const;
  void cutTo(std::uint64_t size) const;
  [[nodiscard]] std::uint64_t endOfFrames() const;

  std::filesystem::path file_;
  int descriptor_ = -1;
  bool ours_ = false;  // whether the file holds nothing but what was written here
  ImageInfo first_;
  std::size_t frameBytes_ = 0;
  std::vector<std::int64_t> times_;  // 100 ns ticks, one a whole frame in the file
};

}  // namespace orvik::ctl
