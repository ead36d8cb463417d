// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <vector>

#include "imaging/frame_sink.h"
#include "tools/orvikctl/capture/capture_options.h"

namespace orvik::ctl {

/// Where a recording goes, over all its parts. A part ends when the camera is unplugged: a SER or
/// raw video then goes on in a new file, a series or a stream where it was.
class RecordingOutput {
 public:
  /// Opens the first file, or the stream. Waits for the reader of a FIFO.
  ///
  /// @param frames how many frames will come in all parts, if known
  /// @throws imaging::NameError, imaging::FileError
  RecordingOutput(const CaptureOptions& options, std::optional<std::int64_t> frames);

  [[nodiscard]] const imaging::Output& output() const { return output_; }
  /// The file of the present part; empty for a series and a stream.
  [[nodiscard]] std::filesystem::path partFile() const;

  /// A file beside the recording: its name, for a series without the number, with another
  /// extension; empty for a stream.
  [[nodiscard]] std::filesystem::path beside(const std::string& extension) const;

  /// @throws imaging::FileError, imaging::ReaderGone, imaging::WriteStopped
  void write(const imaging::Image& image) { sink_->write(image); }
  /// Goes on after the camera has come back. @throws imaging::FileError
  void beginNextPart();
  /// Completes the present file. @throws imaging::FileError
  void finish();
  /// The files that hold frames.
  [[nodiscard]] std::vector<std::filesystem::path> files() const;

 private:
  void open();

  const CaptureOptions& options_;
  std::optional<std::int64_t> frames_;
  imaging::Output output_;
  int number_ = 1;  // of the present file
  std::unique_ptr<imaging::FrameSink> sink_;
  std::vector<std::filesystem::path> earlier_;
};

}  // namespace orvik::ctl
