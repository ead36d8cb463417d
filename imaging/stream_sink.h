// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "imaging/frame_sink.h"
#include "imaging/image_encoder.h"
#include "imaging/output.h"
#include "imaging/pipe_writer.h"

namespace orvik::imaging {

/// Frames for another program, through a pipe: nothing is written twice, and nothing is taken back.
///
/// PNG images follow each other, each as its file would be; FITS images are those of one file. The
/// header of a SER video tells the number of frames if it is known beforehand, and else the largest
/// one, so that readers go on to the end of the stream; the time stamps follow as many frames as
/// the header tells, and nothing else.
class StreamSink final : public FrameSink {
 public:
  /// @param frames how many frames will come, if known
  StreamSink(PipeWriter pipe, OutputFormat format, std::optional<std::int64_t> frames);

  /// All frames of a SER video or a raw one must be of the size and type of the first; otherwise
  /// std::invalid_argument.
  void write(const Image& image) override;
  void finish() override;
  [[nodiscard]] std::vector<std::filesystem::path> files() const override { return {}; }

 private:
  void write(ImageEncoder encode, const Image& image);
  void begin(const ImageInfo& first);

  PipeWriter pipe_;
  OutputFormat format_;
  std::int32_t announced_;
  std::optional<ImageInfo> first_;
  std::vector<std::int64_t> times_;  // of a SER video, in ticks of 100 ns
  bool isBroken_ = false;            // the reader has a part of a frame, or has gone
};

}  // namespace orvik::imaging
