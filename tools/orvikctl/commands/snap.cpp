// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cstdint>
#include <memory>
#include <thread>

#include "tools/orvikctl/camera_choice.h"
#include "tools/orvikctl/capture_report.h"
#include "tools/orvikctl/capture_setup.h"
#include "tools/orvikctl/commands/commands.h"
#include "tools/orvikctl/interrupt.h"
#include "tools/orvikctl/output/frame_sink.h"
#include "tools/orvikctl/progress.h"

namespace orvik::ctl {
namespace {

using Clock = std::chrono::steady_clock;

/// Takes one snapshot after another with the camera as it is set.
class Snapshots {
 public:
  Snapshots(Camera& camera, const CaptureOptions& options, std::int64_t count)
      : camera_(camera),
        info_(describeImages(camera, options)),
        limit_(readOutLimit(camera.format())),
        pixels_(imageBytes(info_.width, info_.height, info_.type)),
        progress_(!options.quiet),
        count_(count) {}

  /// False when the user interrupted.
  bool takeAll(FrameSink& sink) {
    for (done_ = 0; done_ < count_; ++done_) {
      refreshReadings(camera_, info_);
      if (!takeOne()) return false;
      sink.write({info_, pixels_});
    }
    return true;
  }

  [[nodiscard]] std::int64_t done() const { return done_; }
  [[nodiscard]] const ImageInfo& info() const { return info_; }

 private:
  bool takeOne() {
    const auto begun = Clock::now();
    camera_.startExposure();
    const auto exposed = begun + info_.exposure;
    for (;;) {
      if (interrupted()) return false;
      const Orvik_EXPOSURE_STATUS status = camera_.exposureStatus();
      if (status == Orvik_EXPSTATE_READY) break;
      if (status != Orvik_EXPSTATE_EXPOSING) failExposure("failed");
      const auto now = Clock::now();
      if (now > exposed + limit_) failExposure("did not end in time");
      showProgress(exposed - now);
      std::this_thread::sleep_for(pause(exposed - now));
    }
    camera_.fetchExposure(pixels_);
    describe(info_, camera_.frameInfo());
    return true;
  }

  /// Short steps around the end of the exposure, longer ones before; Ctrl-C stays prompt.
  static Clock::duration pause(Clock::duration left) {
    return std::clamp<Clock::duration>(left, std::chrono::milliseconds(1),
                                       std::chrono::milliseconds(50));
  }

  void showProgress(Clock::duration left) {
    const std::chrono::duration<double> thisOne = std::max(left, Clock::duration::zero());
    const std::chrono::duration<double> others = info_.exposure * (count_ - done_ - 1);
    progress_.show({.done = done_,
                    .total = count_,
                    .rate = std::nullopt,
                    .lost = std::nullopt,
                    .secondsLeft = (thisOne + others).count()});
  }

  [[noreturn]] void failExposure(const char* how) const {
    throw Failure(ExitCode::kCameraFailed,
                  std::string("the exposure ") + how + " after " + std::to_string(done_) +
                      " images. Is the camera still plugged in? If so, try a lower --bandwidth, "
                      "another cable or another port.");
  }

  Camera& camera_;
  ImageInfo info_;
  std::chrono::milliseconds limit_;
  std::vector<std::uint8_t> pixels_;
  Progress progress_;
  std::int64_t count_;
  std::int64_t done_ = 0;
};

ExitCode snap(const CaptureOptions& options) {
  const std::int64_t count = options.count.value_or(1);
  const ConnectedCameras cameras(options.virtualCameras);
  Camera camera(cameras.choose(options.camera));
  applyOptions(camera, options, Preference::kDepth);
  const auto sink = makeSink(options.output, count, options.overwrite);

  const auto begun = Clock::now();
  bool complete = false;
  CaptureReport report;
  {
    Snapshots snapshots(camera, options, count);
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
