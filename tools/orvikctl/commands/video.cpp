// SPDX-License-Identifier: MIT
#include <chrono>
#include <cstdint>
#include <memory>

#include "imaging/video_reader.h"
#include "tools/orvikctl/capture/capture_camera.h"
#include "tools/orvikctl/commands/commands.h"
#include "tools/orvikctl/help_text.h"
#include "tools/orvikctl/recording/recording.h"
#include "tools/orvikctl/recording/video_options.h"
#include "tools/orvikctl/time_option.h"

namespace orvik::ctl {
namespace {

imaging::VideoLimits limitsOf(const VideoOptions& options) {
  imaging::VideoLimits limits{options.count, std::nullopt};
  if (options.duration.empty()) return limits;
  limits.duration = timeOption(options.duration, "--duration");
  return limits;
}

ExitCode video(const VideoOptions& options) {
  const imaging::VideoLimits limits = limitsOf(options);
  static_cast<void>(imaging::parseOutput(options.output, options.format));  // before the camera
  if (options.track && options.region.empty()) {
    throw Failure(ExitCode::kUsage,
                  "--track moves a region over the sensor: choose its size with --roi.");
  }
  CaptureCamera capture(options, CaptureKind::kVideo);
  Recording recording(capture, options, limits);  // what it refuses, it refuses before the cooling
  return capture.run([&] { return recording.run(); });
}

}  // namespace

Command addVideo(CLI::App& program) {
  auto options = std::make_shared<VideoOptions>();
  CLI::App* app = program.add_subcommand(
      "video", "Record video until --count or --duration is reached, or until Ctrl-C");
  app->add_option("--duration", options->duration,
                  "Length of the recording: 90s, 2min; time without the camera does not count")
      ->type_name("TIME");
  app->add_flag("--resume", options->resume,
                "Wait for a camera that was unplugged, and go on: a SER or raw video in a new file "
                "(jupiter-2.ser), a series or a stream where it was");
  app->add_flag("--track", options->track,
                "Keep the region centred on the brightest object by moving it over the sensor; a "
                "table beside the file (jupiter.track.csv) tells where it was in each frame");
  app->add_flag("--no-sidecar", options->noSidecar,
                "Write no text with times and settings beside a SER or raw video (jupiter.txt)");
  app->add_option("--buffer", options->bufferMb,
                  "Memory for frames that wait for the disk, MB [256]; when it is full, the camera "
                  "loses frames")
      ->check(unmentioned(CLI::Range(std::size_t{1}, std::size_t{65536})))
      ->type_name("MB");
  addCaptureOptions(*app, *options);
  app->footer(
      "Examples:\n"
      "  orvikctl video --exposure 5ms --roi 640x480 --duration 90s -o jupiter.ser\n"
      "  orvikctl video --track --roi 320x240 --duration 2min --resume -o saturn.ser\n"
      "  orvikctl video --sim T15C,scene=planet --count 100 -o planet.ser\n"
      "  orvikctl video --type raw16 --count 50 -o frame-%04d.fits\n"
      "  orvikctl video --roi 640x480 -o - --format ser | ffplay -f ser -i -\n\n"
      "The time of a frame is the start of its exposure. --count and --duration count over all\n"
      "parts of a recording that was resumed.");
  return {app, [options] { return video(*options); }};
}

}  // namespace orvik::ctl
