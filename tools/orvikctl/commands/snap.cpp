// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cstdint>
#include <memory>
#include <thread>

#include "imaging/frame_sink.h"
#include "tools/orvikctl/capture/capture_camera.h"
#include "tools/orvikctl/capture/capture_report.h"
#include "tools/orvikctl/capture/capture_setup.h"
#include "tools/orvikctl/commands/commands.h"
#include "tools/orvikctl/control_facts.h"
#include "tools/orvikctl/interrupt.h"
#include "tools/orvikctl/progress.h"
#include "tools/orvikctl/units.h"

namespace orvik::ctl {
namespace {

using Clock = std::chrono::steady_clock;

/// Takes one snapshot after another with the camera as it is set.
class Snapshots {
 public:
  Snapshots(Camera& camera, const CaptureOptions& options, std::int64_t count)
      : camera_(camera),
        info_(describeImages(camera, options)),
        progress_(!options.quiet),
        count_(count) {}

  /// False when the user interrupted.
  bool takeAll(imaging::FrameSink& sink) {
    for (done_ = 0; done_ < count_; ++done_) {
      refreshReadings(camera_, info_);
      if (!takeOne()) return false;
      sink.write({info_, frame_.bytes()});
    }
    return true;
  }

  [[nodiscard]] std::int64_t done() const { return done_; }
  [[nodiscard]] const imaging::ImageInfo& info() const { return info_; }

 private:
  bool takeOne() {
    Snapshot snapshot(camera_);
    while (!snapshot.isReady()) {
      showProgress(snapshot.left());
      if (!sleepFor(pause(snapshot.left()), interruption())) return false;
    }
    snapshot.fetch(frame_);
    describe(info_, camera_.info(), frame_.info());
    return true;
  }

  /// Short steps around the end of the exposure, longer ones before.
  static Clock::duration pause(Clock::duration left) {
    return std::clamp<Clock::duration>(left, std::chrono::milliseconds(1),
                                       std::chrono::milliseconds(50));
  }

  void showProgress(std::chrono::duration<double> thisOne) {
    const std::chrono::duration<double> others = info_.exposure * (count_ - done_ - 1);
    progress_.show({.done = done_,
                    .total = count_,
                    .rate = std::nullopt,
                    .lost = std::nullopt,
                    .secondsLeft = (thisOne + others).count()});
  }

  Camera& camera_;
  imaging::ImageInfo info_;
  Frame frame_;
  Progress progress_;
  std::int64_t count_;
  std::int64_t done_ = 0;
};

/// The automatic modes follow a video: they would never act on single images.
void refuseAutomatic(const CaptureOptions& options) {
  for (const Orvik_CONTROL_TYPE type : {Orvik_CTL_EXPOSURE, Orvik_CTL_GAIN}) {
    const auto given = options.controls.find(type);
    if (given == options.controls.end()) continue;
    const auto setting = parseSetting(given->second);
    if (!setting || !setting->isAuto) continue;
    throw Failure(ExitCode::kUsage, std::string(controlFacts(type).option.name) + " " +
                                        given->second +
                                        ": automatic modes work in videos only, not for single "
                                        "images.");
  }
}

ExitCode snap(const CaptureOptions& options) {
  const std::int64_t count = options.count.value_or(1);
  refuseAutomatic(options);
  CaptureCamera capture(options, CaptureKind::kImages);
  const auto sink = imaging::makeSink(options.output, count, options.overwrite);

  const auto begun = Clock::now();
  bool complete = false;
  CaptureReport report;
  {
    Snapshots snapshots(capture.camera(), options, count);
    complete = snapshots.takeAll(*sink);
    report.frames = snapshots.done();
    report.info = snapshots.info();
  }
  sink->finish();
  report.seconds = std::chrono::duration<double>(Clock::now() - begun).count();
  report.files = sink->files();
  printReport(report, options.json);
  return complete ? ExitCode::kOk : ExitCode::kInterrupted;
}

}  // namespace

Command addSnap(CLI::App& program) {
  auto options = std::make_shared<CaptureOptions>();
  CLI::App* app = program.add_subcommand("snap", "Take one or more single exposures");
  addCaptureOptions(*app, *options);
  app->footer(
      "Examples:\n"
      "  orvikctl snap --exposure 2.5s --gain 200 -o m42.fits\n"
      "  orvikctl snap --exposure 30s --count 20 --kind dark -o dark-%03d.fits\n"
      "  orvikctl snap --sim T15C,scene=moon --type rgb24 -o moon.png\n");
  return {app, [options] { return snap(*options); }};
}

}  // namespace orvik::ctl
