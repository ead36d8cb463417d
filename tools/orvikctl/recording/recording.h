// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "imaging/video_reader.h"
#include "tools/orvikctl/capture/brightness.h"
#include "tools/orvikctl/capture/capture_camera.h"
#include "tools/orvikctl/failure.h"
#include "tools/orvikctl/progress.h"
#include "tools/orvikctl/recording/rate_limit.h"
#include "tools/orvikctl/recording/recorded_part.h"
#include "tools/orvikctl/recording/recording_output.h"
#include "tools/orvikctl/recording/sidecar.h"
#include "tools/orvikctl/recording/stall_watch.h"
#include "tools/orvikctl/recording/tracking.h"
#include "tools/orvikctl/recording/video_options.h"

namespace orvik::ctl {

/// Records video until a limit is reached, the user stops it, or something fails. With `--resume`
/// an unplugged camera is waited for, and the recording goes on.
class Recording {
 public:
  /// @param limits over all parts; the duration does not count the time without the camera
  /// @throws imaging::NameError, imaging::FileError if the output cannot be opened
  Recording(CaptureCamera& capture, const VideoOptions& options,
            const imaging::VideoLimits& limits);

  /// Records and reports. The files are complete in any case.
  ///
  /// @throws Failure, Error, imaging::FileError for what has ended the recording, after the report
  ExitCode run();

 private:
  enum class End { kReached, kStopped, kUnplugged, kReaderGone };

  End recordParts();
  bool waitForCamera();
  End recordPart();
  void openPart();
  void readPart();
  void writeAll(imaging::VideoReader& reader);
  void write(const Frame& frame);

  void openSidecar();
  void writeSidecar(const Entries& more);
  void refreshSidecar();
  [[nodiscard]] Entries lastEntries() const;
  void findCauses();

  void tellUnplugged();
  void tellStall();
  void tellRawLayout() const;
  void printResult() const;
  [[nodiscard]] ExitCode codeOf(End end) const;

  [[nodiscard]] std::int64_t frames() const;
  [[nodiscard]] imaging::VideoLimits limitsLeft() const;
  void showProgress(const imaging::VideoReader& reader);

  CaptureCamera& capture_;
  const VideoOptions& options_;
  imaging::VideoLimits limits_;
  RecordingOutput output_;
  std::vector<RecordedPart> parts_;
  imaging::ImageInfo info_;
  Progress progress_;
  BrightnessMeter brightness_;
  std::optional<Tracking> tracking_;
  std::optional<Sidecar> sidecar_;  // of the present part
  Entries settings_;                // of the camera as the part began
  std::int64_t timesFull_ = 0;      // how often the buffer had no room
  std::size_t bufferSize_ = 0;      // frames, of the last part
  std::size_t bufferUsed_ = 0;      // frames at most
  std::optional<RateLimit> limit_;
  std::vector<std::string> notes_;  // further lines of the report
  StallWatch stall_;
  StallWatch::Seconds silence_{};  // since the last frame, at the end of the part
  std::chrono::steady_clock::time_point partBegun_;
  std::chrono::steady_clock::duration recorded_{};  // in earlier parts
  bool isUnpluggingTold_ = false;
};

}  // namespace orvik::ctl
