// SPDX-License-Identifier: MIT
#include <chrono>
#include <cstdint>
#include <exception>
#include <iostream>
#include <memory>

#include "imaging/frame_sink.h"
#include "imaging/name_pattern.h"
#include "tools/orvikctl/capture/capture_camera.h"
#include "tools/orvikctl/capture/capture_report.h"
#include "tools/orvikctl/capture/capture_setup.h"
#include "tools/orvikctl/capture/flat_exposure.h"
#include "tools/orvikctl/capture/still_capture.h"
#include "tools/orvikctl/commands/commands.h"
#include "tools/orvikctl/interrupt.h"
#include "tools/orvikctl/time_option.h"
#include "tools/orvikctl/units.h"

namespace orvik::ctl {
namespace {

using Clock = std::chrono::steady_clock;

struct SnapOptions : CaptureOptions {
  bool resume = false;
  bool continueNumbers = false;
  std::string interval;
  std::string targetAdu;
  std::string maxExposure;
};

StillSettings settingsOf(const SnapOptions& options) {
  StillSettings settings{options.resume, std::nullopt, options.quiet};
  if (!options.interval.empty()) settings.interval = timeOption(options.interval, "--interval");
  return settings;
}

std::optional<FlatTarget> flatTargetOf(const SnapOptions& options) {
  if (options.targetAdu.empty()) return std::nullopt;
  const auto level = parseLevel(options.targetAdu);
  if (!level) {
    throw Failure(ExitCode::kUsage, "--target-adu " + options.targetAdu +
                                        ": give a median of 16 bits, such as 30000, or a part of "
                                        "the range, such as 50%; from 5 to 90 %.");
  }
  FlatTarget target{.level = *level};
  if (!options.maxExposure.empty())
    target.longest = timeOption(options.maxExposure, "--max-exposure");
  return target;
}

/// Takes the images and writes each of them when it is there.
class Series {
 public:
  /// @param toStandardError whether the report goes there, because images go to standard output
  Series(CaptureCamera& camera, const SnapOptions& options, imaging::FrameSink& sink,
         bool toStandardError)
      : options_(options),
        sink_(sink),
        toStandardError_(toStandardError),
        count_(options.count.value_or(1)),
        stills_(camera, settingsOf(options), interruption()) {
    stills_.describe(options_);
    const auto target = flatTargetOf(options);
    if (target) flats_.emplace(camera.camera(), stills_, *target, options.quiet);
  }

  /// Throws what ends it early after the report of the images that are kept.
  ExitCode run() {
    const auto begun = Clock::now();
    std::exception_ptr fault;
    bool complete = false;
    try {
      complete = takeAll();
      sink_.finish();
    } catch (...) {
      fault = std::current_exception();
    }
    stills_.clearProgress();
    if (!fault || done_ > 0) report(std::chrono::duration<double>(Clock::now() - begun).count());
    if (fault) std::rethrow_exception(fault);
    return complete ? ExitCode::kOk : ExitCode::kInterrupted;
  }

 private:
  bool takeAll() {
    if (flats_ && !flats_->find()) return false;
    for (; done_ < count_; ++done_) {
      if (!stills_.take([this](double left) { return progress(left); })) return false;
      sink_.write(stills_.image());
      if (flats_ && done_ + 1 < count_) flats_->follow();
    }
    return true;
  }

  std::string progress(double thisOne) const {
    const std::chrono::duration<double> others = stills_.info().exposure * (count_ - done_ - 1);
    return progressText({.done = done_,
                         .total = count_,
                         .rate = std::nullopt,
                         .lost = std::nullopt,
                         .secondsLeft = thisOne + others.count()});
  }

  void report(double seconds) const {
    printReport({.frames = done_,
                 .lost = std::nullopt,
                 .seconds = seconds,
                 .rate = std::nullopt,
                 .info = stills_.info(),
                 .brightness = stills_.brightness(),
                 .files = sink_.files(),
                 .notes = {}},
                options_.json, toStandardError_ ? std::cerr : std::cout);
  }

  const SnapOptions& options_;
  imaging::FrameSink& sink_;
  bool toStandardError_;
  std::int64_t count_;
  StillCapture stills_;
  std::optional<FlatExposure> flats_;
  std::int64_t done_ = 0;
};

ExitCode snap(const SnapOptions& options) {
  refuseAutomatic(options);
  // What is wrong is refused before a camera is opened.
  static_cast<void>(settingsOf(options));
  static_cast<void>(flatTargetOf(options));
  const imaging::Output output = imaging::parseOutput(options.output, options.format);
  CaptureCamera camera(options, CaptureKind::kImages);
  if (!options.targetAdu.empty()) camera.restoreAtEnd(Orvik_CTL_EXPOSURE);
  const std::int64_t first =
      options.continueNumbers ? imaging::NamePattern(options.output).nextNumber() : 1;
  const auto sink = imaging::makeSink(output, {.frames = options.count.value_or(1),
                                               .overwrite = options.overwrite,
                                               .first = first,
                                               .stop = interruption()});
  return camera.run(
      [&] { return Series(camera, options, *sink, output.isStandardOutput()).run(); });
}

}  // namespace

Command addSnap(CLI::App& program) {
  auto options = std::make_shared<SnapOptions>();
  CLI::App* app = program.add_subcommand("snap", "Take one or more single exposures");
  app->add_option("--interval", options->interval,
                  "Time from the start of an image to the start of the next; without it, and for "
                  "images that take longer, one follows the other")
      ->type_name("TIME");
  app->add_flag("--resume", options->resume,
                "Wait for a camera that is unplugged, and go on with the image that was lost");
  app->add_flag("--continue", options->continueNumbers,
                "Number the files from the one after the highest that exists");
  addCaptureOptions(*app, *options);
  CLI::Option* const target =
      app->add_option("--target-adu", options->targetAdu,
                      "Take flats: find the exposure for which the median of the central part is "
                      "this, of 16 bits or of the range, within 5 %; follow light that changes")
          ->type_name("N|N%")
          ->excludes("--exposure");
  app->add_option("--max-exposure", options->maxExposure, "Longest exposure of such flats [30s]")
      ->type_name("TIME")
      ->needs(target);
  app->footer(
      "Examples:\n"
      "  orvikctl snap --exposure 2.5s --gain 200 -o m42.fits\n"
      "  orvikctl snap --exposure 30s --count 20 --kind dark --cool -10 -o dark-%03d.fits\n"
      "  orvikctl snap --target-adu 50% --count 15 -o flat-%02d.fits\n"
      "  orvikctl snap --sim T15C,scene=moon --type rgb24 -o moon.png\n");
  return {app, [app, options] {
            // Flats, unless something else is meant.
            const bool isNamed = app->count("--kind") > 0;
            if (!options->targetAdu.empty() && !isNamed) options->frameKind = "flat";
            return snap(*options);
          }};
}

}  // namespace orvik::ctl
