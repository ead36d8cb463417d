// SPDX-License-Identifier: MIT
#include "tools/orvikctl/sequence/runner.h"

#include <exception>
#include <iostream>
#include <random>
#include <utility>

#include "imaging/image_encoder.h"
#include "imaging/save_file.h"
#include "tools/orvikctl/capture/capture_report.h"
#include "tools/orvikctl/interrupt.h"
#include "tools/orvikctl/sequence/forecast.h"
#include "tools/orvikctl/sequence/image_command.h"
#include "tools/orvikctl/sequence/pause.h"
#include "tools/orvikctl/sequence/step_options.h"
#include "tools/orvikctl/units.h"

namespace orvik::ctl {

SequenceRunner::SequenceRunner(CaptureCamera& camera, const SequencePlan& plan,
                               std::vector<CaptureOptions> options,
                               std::vector<PlannedImage> images, const RunSettings& settings)
    : camera_(camera),
      plan_(plan),
      options_(std::move(options)),
      images_(std::move(images)),
      settings_(settings),
      stop_(interruption()),
      stills_(camera, {settings.waitsForCamera, plan.interval, settings.quiet}, stop_),
      results_(plan.steps.size()),
      secondsAfter_(images_.size(), 0),
      begun_(Clock::now()) {
  if (plan.dither) dither_.emplace(plan.dither->pulse, std::random_device()());
  for (std::size_t n = images_.size(); n > 1; --n) {
    secondsAfter_[n - 2] = secondsAfter_[n - 1] + exposureSeconds(plan.steps[images_[n - 1].step]);
  }
}

void SequenceRunner::checkSteps() {
  for (const CaptureOptions& options : options_) camera_.use(options);
}

ExitCode SequenceRunner::run() {
  begun_ = Clock::now();
  std::exception_ptr fault;
  bool complete = false;
  try {
    complete = takeAll();
  } catch (...) {
    fault = std::current_exception();
  }
  endStep();
  report();
  if (fault) std::rethrow_exception(fault);
  if (complete) return ExitCode::kOk;
  std::cerr << "stopped; the same command goes on with " << images_[done_].file.string() << '\n';
  return ExitCode::kInterrupted;
}

bool SequenceRunner::takeAll() {
  for (; done_ < images_.size(); ++done_) {
    const PlannedImage& image = images_[done_];
    if (present_ != image.step) {
      endStep();
      if (!beginStep(image.step)) return false;
    }
    if (!ditherIfDue() || !takeImage(image) || !runCommand(image)) return false;
  }
  return true;
}

/// False when a stop was requested, as for all that follow.
bool SequenceRunner::beginStep(std::size_t step) {
  const StepPlan& plan = plan_.steps[step];
  present_ = step;
  if (!plan.pause.empty()) {
    if (settings_.asks && !waitForEnter(plan.pause, stop_)) return false;
    if (!settings_.asks && !settings_.quiet) std::cerr << plan.pause << '\n';
  }
  if (!stills_.begin(options_[step])) return false;
  flats_.reset();
  if (!plan.flat) return true;
  flats_.emplace(camera_.camera(), stills_, *plan.flat, settings_.quiet);
  return flats_->find();
}

void SequenceRunner::endStep() {
  stills_.clearProgress();
  if (!present_) return;
  Result& result = results_[*present_];
  const StepPlan& plan = plan_.steps[*present_];
  if (const auto& now = stills_.brightness()) {
    const std::string warning = brightnessWarning(*now, stills_.info().frameKind);
    if (!warning.empty()) std::cerr << "warning: " << stepText(plan) << ": " << warning << '\n';
    result.brightness = result.brightness ? merged(*result.brightness, *now) : *now;
  }
  present_.reset();
}

bool SequenceRunner::takeImage(const PlannedImage& image) {
  if (!stills_.take([this](double left) { return progress(left); })) return false;
  const imaging::ImageEncoder encode = imaging::encoderFor(image.file);
  imaging::saveFile(
      image.file, [&](imaging::ByteSink& sink) { encode(stills_.image(), sink); },
      settings_.overwrite);
  ++results_[image.step].images;
  if (plan_.steps[image.step].kind == "light") ++lightsSinceMove_;
  const bool isLast = done_ + 1 == images_.size() || images_[done_ + 1].step != image.step;
  if (flats_ && !isLast) flats_->follow();
  return true;
}

bool SequenceRunner::ditherIfDue() {
  const bool isLight = plan_.steps[images_[done_].step].kind == "light";
  if (!dither_ || !isLight || lightsSinceMove_ < plan_.dither->every) return true;
  lightsSinceMove_ = 0;
  try {
    for (const Dither::Pulse& pulse : dither_->next()) {
      if (pulse.length.count() > 0) camera_.camera().pulse(pulse.line, pulse.length, stop_);
    }
  } catch (const Error& error) {
    stills_.clearProgress();
    // Images at the same place are better than none.
    std::cerr << "no dithering before " << images_[done_].file.string() << ": " << error.what()
              << '\n';
    return !stop_.stop_requested();
  }
  return sleepFor(plan_.dither->settle, stop_);
}

bool SequenceRunner::runCommand(const PlannedImage& image) {
  if (!plan_.command) return !stop_.stop_requested();
  stills_.clearProgress();  // the command may write
  const std::string fault = runImageCommand(*plan_.command, image.file, stop_);
  if (fault.empty()) return !stop_.stop_requested();
  const std::string text = "the command for " + image.file.string() + " failed: " + fault;
  if (plan_.command->mustSucceed && !stop_.stop_requested()) {
    ++done_;  // the image itself is there
    throw Failure(ExitCode::kFindings, text + ".");
  }
  std::cerr << text << '\n';
  return !stop_.stop_requested();
}

std::string SequenceRunner::progress(double left) const {
  return stepText(plan_.steps[images_[done_].step]) + ", image " + std::to_string(done_ + 1) + "/" +
         std::to_string(images_.size()) + ", " + clockText(left) + " of it and " +
         clockText(left + secondsAfter_[done_]) + " of all left";
}

void SequenceRunner::report() const {
  if (settings_.json) {
    reportJson();
    return;
  }
  std::int64_t images = 0;
  for (std::size_t n = 0; n < results_.size(); ++n) {
    images += results_[n].images;
    if (results_[n].images == 0) continue;
    std::cout << stepText(plan_.steps[n]) << ": " << results_[n].images << " images";
    if (results_[n].brightness) std::cout << "; " << brightnessText(*results_[n].brightness);
    std::cout << '\n';
  }
  std::cout << images << " of " << images_.size() << " images in "
            << clockText(std::chrono::duration<double>(Clock::now() - begun_).count()) << '\n'
            << std::flush;
}

void SequenceRunner::reportJson() const {
  Json steps = Json::array();
  std::int64_t images = 0;
  for (std::size_t n = 0; n < results_.size(); ++n) {
    Json step = {{"kind", plan_.steps[n].kind},
                 {"filter", plan_.steps[n].filter},
                 {"images", results_[n].images}};
    if (results_[n].brightness) step["brightness"] = brightnessJson(*results_[n].brightness);
    steps.push_back(std::move(step));
    images += results_[n].images;
  }
  Json files = Json::array();
  for (std::int64_t n = 0; n < images; ++n) {
    files.push_back(images_[static_cast<std::size_t>(n)].file.string());
  }
  const Json json = {{"images", images},
                     {"missing", std::ssize(images_) - images},
                     {"seconds", std::chrono::duration<double>(Clock::now() - begun_).count()},
                     {"steps", std::move(steps)},
                     {"files", std::move(files)}};
  std::cout << json.dump(2) << '\n' << std::flush;
}

}  // namespace orvik::ctl
