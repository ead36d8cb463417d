// SPDX-License-Identifier: MIT
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <memory>

#include "imaging/errors.h"
#include "tools/orvikctl/capture/capture_camera.h"
#include "tools/orvikctl/capture/capture_report.h"
#include "tools/orvikctl/capture/capture_setup.h"
#include "tools/orvikctl/commands/commands.h"
#include "tools/orvikctl/sequence/forecast.h"
#include "tools/orvikctl/sequence/plan_reader.h"
#include "tools/orvikctl/sequence/runner.h"
#include "tools/orvikctl/sequence/step_options.h"
#include "tools/orvikctl/time_option.h"
#include "tools/orvikctl/units.h"

namespace orvik::ctl {
namespace {

struct SequenceOptions : CaptureOptions {
  std::vector<std::string> steps;
  std::string interval;
  bool dryRun = false;
  bool yes = false;
  bool resume = false;
};

SequencePlan planOf(const SequenceOptions& options) {
  SequencePlan plan;
  const bool isFile = options.steps.front().ends_with(".toml");
  if (isFile && options.steps.size() > 1) {
    throw Failure(ExitCode::kUsage, "give either one plan or steps.");
  }
  if (isFile) {
    plan = readPlan(options.steps.front());
  } else {
    for (const std::string& step : options.steps) plan.steps.push_back(parseStep(step));
  }
  if (!options.output.empty()) plan.name = options.output;
  if (plan.name.empty()) {
    throw Failure(ExitCode::kUsage,
                  "steps need --output, as in -o 'm42_{kind}_{filter}_%03d.fits'.");
  }
  if (!options.interval.empty()) plan.interval = timeOption(options.interval, "--interval");
  completePlan(plan, options);
  return plan;
}

ExitCode dryRun(const SequenceOptions& options, const SequencePlan& plan,
                const std::vector<PlannedImage>& images) {
  const ConnectedCameras cameras(options.virtualCameras);
  std::optional<Orvik_CAMERA_INFO> info;
  if (!cameras.all().empty()) info = cameras.choose(options.camera).info;
  printForecast(plan, forecastOf(plan, images, options.overwrite, info ? &*info : nullptr),
                options.json);
  return ExitCode::kOk;
}

void createFolders(const std::vector<PlannedImage>& images) {
  for (const PlannedImage& image : images) {
    const std::filesystem::path folder = image.file.parent_path();
    std::error_code error;
    if (!folder.empty()) std::filesystem::create_directories(folder, error);
    if (error) {
      throw imaging::FileError("cannot create the folder " + folder.string() + ": " +
                               error.message() + ".");
    }
  }
}

/// Says at the beginning what would otherwise be found out hours later.
void warnOfFullDisk(const Forecast& forecast) {
  if (!forecast.bytes || !forecast.free || *forecast.bytes <= *forecast.free) return;
  std::cerr << "warning: the images need " << sizeText(*forecast.bytes) << ", and "
            << sizeText(*forecast.free) << " are free on the disk\n";
}

void requireSomebody(const SequencePlan& plan, bool yes) {
  const bool pauses =
      std::ranges::any_of(plan.steps, [](const StepPlan& step) { return !step.pause.empty(); });
  if (!pauses || yes || isatty(STDIN_FILENO) == 1) return;
  throw Failure(ExitCode::kUsage,
                "the plan has pauses, and there is no terminal to ask at: --yes goes on without "
                "asking.");
}

/// The options of all steps. What a step does not say is as it is at the beginning, whatever the
/// steps before it set: a sequence that goes on after a stop begins in the middle.
std::vector<CaptureOptions> stepsOf(const SequenceOptions& options, const SequencePlan& plan,
                                    const Camera& camera) {
  std::vector<CaptureOptions> steps;
  for (const StepPlan& step : plan.steps) {
    CaptureOptions& one = steps.emplace_back(stepOptions(plan, step, options));
    for (const Orvik_CONTROL_TYPE type : {Orvik_CTL_GAIN, Orvik_CTL_BRIGHTNESS}) {
      std::string& text = one.controls[type];
      if (text.empty() && camera.control(type) != nullptr) {
        text = std::to_string(camera.read(type).value);
      }
    }
    one.quiet = true;  // the notes have been given
    one.startFromDefaults = false;
  }
  return steps;
}

ExitCode sequence(const SequenceOptions& options) {
  refuseAutomatic(options);
  const SequencePlan plan = planOf(options);
  static_cast<void>(coolingPlanOf(plan.cooling));
  std::vector<PlannedImage> images = plannedImages(plan);
  if (options.dryRun) return dryRun(options, plan, images);
  requireSomebody(plan, options.yes);

  const std::size_t all = images.size();
  std::erase_if(images,
                [&](const PlannedImage& image) { return !isMissing(image, options.overwrite); });
  if (images.size() < all && !options.quiet) {
    std::cerr << all - images.size() << " of " << all
              << " images exist; --restart takes them again\n";
  }
  if (images.empty()) return ExitCode::kOk;

  CaptureOptions common = static_cast<const CaptureOptions&>(options);
  common.cooling = plan.cooling;
  CaptureCamera camera(common, CaptureKind::kImages);
  for (const Orvik_CONTROL_TYPE type : {Orvik_CTL_GAIN, Orvik_CTL_BRIGHTNESS, Orvik_CTL_EXPOSURE}) {
    camera.restoreAtEnd(type);
  }
  SequenceRunner runner(
      camera, plan, stepsOf(options, plan, camera.camera()), images,
      {options.overwrite, !options.yes, options.resume, options.quiet, options.json});
  runner.checkSteps();
  createFolders(images);
  warnOfFullDisk(forecastOf(plan, images, options.overwrite, &camera.camera().info()));
  return camera.run([&] { return runner.run(); });
}

}  // namespace

Command addSequence(CLI::App& program) {
  auto options = std::make_shared<SequenceOptions>();
  CLI::App* app = program.add_subcommand(
      "sequence", "Take images of several kinds, as a plan or the command line lists them");
  app->add_option("steps", options->steps,
                  "A plan in a TOML file; or steps KIND:COUNTxEXPOSURE[:FILTER], done in this "
                  "order. Kinds are light, dark, bias, flat; flats also with the median that they "
                  "are to have, as in flat:15x50%")
      ->type_name("PLAN.toml|STEP...")
      ->required();
  app->add_option("-o,--output", options->output,
                  "Name of the files, .fits or .png, with {object}, {telescope}, {kind}, "
                  "{filter}, {exposure}, {bin}, {gain}, {temperature}, and a number such as %03d, "
                  "which counts images of the same name; in the place of the plan's. Folders are "
                  "created")
      ->type_name("PATTERN");
  app->add_flag("--dry-run", options->dryRun,
                "Only tell the number of images, the time, the disk space and the files");
  app->add_flag("--restart,--overwrite", options->overwrite,
                "Take all images, and replace those that exist");
  app->add_flag("--resume", options->resume, "Wait for a camera that is unplugged, and go on");
  app->add_flag("--yes", options->yes, "Do not wait at pauses");
  app->add_option("--interval", options->interval,
                  "Time from the start of an image to the start of the next, if it takes less")
      ->type_name("TIME");
  addStepOptions(*app, *options);
  app->footer(
      "An image whose file exists is not taken again: after Ctrl-C or a crash the same command\n"
      "goes on where it was. Settings of the command line hold for steps without their own.\n"
      "\n"
      "Examples:\n"
      "  orvikctl sequence light:20x300s:Ha dark:10x300s --cool -10 -o 'm42_{kind}_%03d.fits'\n"
      "  orvikctl sequence night.toml --dry-run\n"
      "  orvikctl sequence night.toml --resume\n");
  return {app, [options] { return sequence(*options); }};
}

}  // namespace orvik::ctl
