// SPDX-License-Identifier: MIT
#include "tools/orvikctl/capture/still_capture.h"

#include <algorithm>
#include <exception>
#include <iostream>
#include <utility>

#include "tools/orvikctl/capture/capture_setup.h"
#include "tools/orvikctl/failure.h"

namespace orvik::ctl {
namespace {

constexpr int kMostFailures = 4;  // three exposures more than the first
constexpr auto kLookForCamera = std::chrono::seconds(1);

double secondsOf(std::chrono::steady_clock::duration length) {
  return std::chrono::duration<double>(length).count();
}

}  // namespace

StillCapture::StillCapture(CaptureCamera& camera, const StillSettings& settings,
                           std::stop_token stop)
    : camera_(camera), settings_(settings), stop_(std::move(stop)), line_(!settings.quiet) {}

void StillCapture::describe(const CaptureOptions& options) {
  options_ = &options;
  exposure_.reset();
  meter_ = {};
  describeAgain();
}

bool StillCapture::begin(const CaptureOptions& options) {
  try {
    camera_.use(options);
  } catch (const Error&) {
    if (!camera_.isUnplugged()) throw;
    if (!waitForCamera()) return false;
  }
  describe(options);
  return true;
}

void StillCapture::describeAgain() {
  if (exposure_) camera_.camera().set(control::kExposure, *exposure_);
  info_ = describeImages(camera_.camera(), *options_);
}

void StillCapture::setExposure(std::chrono::microseconds exposure) {
  exposure_ = exposure;
  camera_.camera().set(control::kExposure, exposure);
  info_.exposure = exposure;
}

bool StillCapture::takeTrial(const ProgressText& progress) {
  for (int failures = 0;;) {
    std::exception_ptr fault;
    try {
      return expose(progress);
    } catch (const Error&) {
      fault = std::current_exception();
    }
    line_.wipe();
    if (!recover(fault, ++failures)) return false;
  }
}

bool StillCapture::take(const ProgressText& progress) {
  if (!waitForStart(progress) || !takeTrial(progress)) return false;
  meter_.measure(source());
  return true;
}

imaging::ImageSource StillCapture::source() const {
  return imaging::sourceOf(frame_, camera_.camera().info());
}

bool StillCapture::waitForStart(const ProgressText& progress) {
  if (!settings_.interval) return !stop_.stop_requested();
  const auto now = Clock::now();
  // An image that comes too late for its time begins at once, and the next one keeps its distance.
  const auto start = std::max(nextStart_.value_or(now), now);
  for (auto left = start - now; left > Clock::duration::zero(); left = start - Clock::now()) {
    line_.show(progress(secondsOf(left) + secondsOf(info_.exposure)));
    if (!sleepFor(std::min<Clock::duration>(left, std::chrono::milliseconds(200)), stop_)) {
      return false;
    }
  }
  nextStart_ = start + *settings_.interval;
  return !stop_.stop_requested();
}

/// False when a stop was requested.
bool StillCapture::expose(const ProgressText& progress) {
  refreshReadings(camera_.camera(), info_);
  Snapshot snapshot(camera_.camera());
  lookedForCamera_ = Clock::now();
  while (!snapshot.isReady()) {
    const Clock::duration left = snapshot.left();
    line_.show(progress(secondsOf(left)));
    // A long exposure asks the camera for nothing before its end.
    if (Clock::now() - lookedForCamera_ >= kLookForCamera) {
      if (camera_.isUnplugged()) throw Error(Orvik_ERROR_NO_FRAME, "the camera was unplugged");
      lookedForCamera_ = Clock::now();
    }
    // Short steps around the end of the exposure, longer ones before.
    const auto pause = std::clamp<Clock::duration>(left, std::chrono::milliseconds(1),
                                                   std::chrono::milliseconds(50));
    if (!sleepFor(pause, stop_)) return false;
  }
  snapshot.fetch(frame_);
  imaging::describe(info_, camera_.camera().info(), frame_.info());
  return true;
}

/// Makes the camera ready to take a failed image again. False when a stop was requested.
bool StillCapture::recover(const std::exception_ptr& fault, int failures) {
  if (camera_.isUnplugged()) {
    if (!waitForCamera()) return false;
    describeAgain();
    return true;
  }
  if (failures >= kMostFailures) std::rethrow_exception(fault);
  try {
    std::rethrow_exception(fault);
  } catch (const Error& error) {
    std::cerr << error.what() << "; taking the image again (" << failures << " of "
              << kMostFailures - 1 << ")\n";
  }
  return !stop_.stop_requested();
}

/// Returns when the camera is there and set up; false when a stop was requested.
bool StillCapture::waitForCamera() {
  if (!settings_.waitsForCamera) {
    throw Failure(ExitCode::kCameraFailed,
                  camera_.label() +
                      " was unplugged. The images before are kept; with --resume "
                      "the capture waits for the camera and goes on.");
  }
  for (;;) {
    try {
      return camera_.comeBack(stop_);
    } catch (const Error&) {
      // A loose plug: gone again before it was set up.
      if (!camera_.camera().isOpen() || !camera_.isUnplugged()) throw;
    }
  }
}

}  // namespace orvik::ctl
