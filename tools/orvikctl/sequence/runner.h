// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/orvikctl/capture/still_capture.h"
#include "tools/orvikctl/failure.h"
#include "tools/orvikctl/sequence/dither.h"
#include "tools/orvikctl/sequence/file_names.h"

namespace orvik::ctl {

/// How a sequence is run.
struct RunSettings {
  bool overwrite = false;       ///< whether images that exist are taken again
  bool asks = true;             ///< whether pauses wait for Enter
  bool waitsForCamera = false;  ///< whether to wait for a camera that is unplugged
  bool quiet = false;
  bool json = false;
};

/// Takes the images of a sequence that are missing, step by step.
class SequenceRunner {
 public:
  /// @param camera, plan exist as long as this object
  /// @param options of each step
  /// @param images those that are missing
  SequenceRunner(CaptureCamera& camera, const SequencePlan& plan,
                 std::vector<CaptureOptions> options, std::vector<PlannedImage> images,
                 const RunSettings& settings);

  /// Checks all steps against the camera, which takes over their settings one after the other.
  ///
  /// @throws Failure, Error
  void checkSteps();

  /// Runs the sequence, and reports what was taken, also when something ends it early, which it
  /// then throws.
  ExitCode run();

 private:
  using Clock = std::chrono::steady_clock;

  struct Result {
    std::int64_t images = 0;
    std::optional<SeriesBrightness> brightness;
  };

  bool takeAll();
  bool beginStep(std::size_t step);
  void endStep();
  bool takeImage(const PlannedImage& image);
  bool ditherIfDue();
  bool runCommand(const PlannedImage& image);
  [[nodiscard]] std::string progress(double left) const;
  void report() const;
  void reportJson() const;

  CaptureCamera& camera_;
  const SequencePlan& plan_;
  std::vector<CaptureOptions> options_;
  std::vector<PlannedImage> images_;
  RunSettings settings_;
  std::stop_token stop_;
  StillCapture stills_;
  std::optional<FlatExposure> flats_;
  std::optional<Dither> dither_;
  int lightsSinceMove_ = 0;
  std::vector<Result> results_;         ///< of each step
  std::vector<double> secondsAfter_;    ///< exposures of all images after each one
  std::optional<std::size_t> present_;  ///< the step that is being taken
  std::size_t done_ = 0;
  Clock::time_point begun_;
};

}  // namespace orvik::ctl
