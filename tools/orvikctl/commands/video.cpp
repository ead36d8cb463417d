// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cstdint>
#include <memory>

#include "imaging/frame_sink.h"
#include "imaging/video_reader.h"
#include "tools/orvikctl/capture/capture_camera.h"
#include "tools/orvikctl/capture/capture_report.h"
#include "tools/orvikctl/capture/capture_setup.h"
#include "tools/orvikctl/commands/commands.h"
#include "tools/orvikctl/help_text.h"
#include "tools/orvikctl/interrupt.h"
#include "tools/orvikctl/progress.h"
#include "tools/orvikctl/units.h"

namespace orvik::ctl {
namespace {

using SystemClock = std::chrono::system_clock;

struct VideoOptions : CaptureOptions {
  std::string duration;
  std::size_t bufferMb = 256;
};

imaging::VideoLimits limitsOf(const VideoOptions& options) {
  imaging::VideoLimits limits{options.count, std::nullopt};
  if (options.duration.empty()) return limits;
  const auto duration = parseDuration(options.duration);
  if (!duration) {
    throw Failure(ExitCode::kUsage,
                  "--duration " + options.duration + ": give a time such as 90s or 2min.");
  }
  limits.duration = std::chrono::microseconds(*duration);
  return limits;
}

/// Writes what the reader brings and keeps count.
class Recording {
 public:
  Recording(const Camera& camera, imaging::VideoReader& reader, imaging::FrameSink& sink,
            imaging::ImageInfo info, const imaging::VideoLimits& limits, bool quiet)
      : camera_(camera),
        reader_(reader),
        sink_(sink),
        info_(std::move(info)),
        limits_(limits),
        progress_(!quiet),
        begun_(SystemClock::now()) {}

  /// Returns when the reader has ended and everything it brought is written.
  void writeAll() {
    constexpr auto kWait = std::chrono::milliseconds(200);
    for (;;) {
      Frame* frame = nullptr;
      const imaging::FramePool::Taken taken = reader_.frames().take(frame, kWait);
      if (taken == imaging::FramePool::Taken::kEnd) break;
      if (taken == imaging::FramePool::Taken::kFrame) {
        write(*frame);
        reader_.frames().release(frame);
      }
      showProgress();
    }
    progress_.wipe();
  }

  [[nodiscard]] CaptureReport report() const {
    CaptureReport report;
    report.frames = frames_;
    report.lost = reader_.lost();
    report.seconds = seconds();
    report.rate = rate();
    report.info = info_;
    report.files = sink_.files();
    return report;
  }

 private:
  void write(const Frame& frame) {
    describe(info_, camera_.info(), frame.info());
    sink_.write({info_, frame.bytes()});
    const std::chrono::nanoseconds complete(frame.info().lastByte);
    if (frames_ == 0) first_ = complete;
    last_ = complete;
    ++frames_;
  }

  [[nodiscard]] double seconds() const {
    return frames_ < 2 ? 0 : std::chrono::duration<double>(last_ - first_).count();
  }

  [[nodiscard]] std::optional<double> rate() const {
    if (seconds() <= 0) return std::nullopt;
    return static_cast<double>(frames_ - 1) / seconds();
  }

  [[nodiscard]] std::optional<double> secondsLeft() const {
    std::optional<double> left;
    if (limits_.duration) {
      const std::chrono::duration<double> gone = SystemClock::now() - begun_;
      left = std::max(0.0, std::chrono::duration<double>(*limits_.duration).count() - gone.count());
    }
    if (limits_.frames && rate()) {
      const double byCount = static_cast<double>(*limits_.frames - frames_) / *rate();
      left = left ? std::min(*left, byCount) : byCount;
    }
    return left;
  }

  void showProgress() {
    progress_.show({.done = frames_,
                    .total = limits_.frames,
                    .rate = rate(),
                    .lost = reader_.lost(),
                    .secondsLeft = secondsLeft()});
  }

  const Camera& camera_;
  imaging::VideoReader& reader_;
  imaging::FrameSink& sink_;
  imaging::ImageInfo info_;
  imaging::VideoLimits limits_;
  Progress progress_;
  std::int64_t frames_ = 0;
  SystemClock::time_point begun_;
  std::chrono::nanoseconds first_{};  ///< when the first frame was complete
  std::chrono::nanoseconds last_{};
};

void record(Camera& camera, const VideoOptions& options, const imaging::VideoLimits& limits,
            imaging::FrameSink& sink) {
  const imaging::ImageInfo info = describeImages(camera, options);
  imaging::VideoReader reader(camera, limits, options.bufferMb * 1'000'000, interruption());
  Recording recording(camera, reader, sink, info, limits, options.quiet);
  recording.writeAll();
  sink.finish();
  printReport(recording.report(), options.json);
  reader.finish();  // The last: a fault of the camera does not cost what had come before it.
}

ExitCode video(const VideoOptions& options) {
  const imaging::VideoLimits limits = limitsOf(options);
  CaptureCamera capture(options, CaptureKind::kVideo);
  const auto sink = imaging::makeSink(options.output, limits.frames, options.overwrite);
  record(capture.camera(), options, limits, *sink);
  return interrupted() ? ExitCode::kInterrupted : ExitCode::kOk;
}

}  // namespace

Command addVideo(CLI::App& program) {
  auto options = std::make_shared<VideoOptions>();
  CLI::App* app = program.add_subcommand(
      "video", "Record video until --count or --duration is reached, or until Ctrl-C");
  app->add_option("--duration", options->duration, "Length of the recording: 90s, 2min")
      ->type_name("TIME");
  app->add_option("--buffer", options->bufferMb,
                  "Memory for frames that wait for the disk, MB [256]; when it is full, the camera "
                  "loses frames")
      ->check(unmentioned(CLI::Range(std::size_t{1}, std::size_t{65536})))
      ->type_name("MB");
  addCaptureOptions(*app, *options);
  app->footer(
      "Examples:\n"
      "  orvikctl video --exposure 5ms --roi 640x480 --duration 90s -o jupiter.ser\n"
      "  orvikctl video --sim T15C,scene=planet --count 100 -o planet.ser\n"
      "  orvikctl video --type raw16 --count 50 -o frame-%04d.fits\n\n"
      "The time of a frame is the start of its exposure.");
  return {app, [options] { return video(*options); }};
}

}  // namespace orvik::ctl
