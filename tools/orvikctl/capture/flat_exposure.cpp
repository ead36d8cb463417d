// SPDX-License-Identifier: MIT
#include "tools/orvikctl/capture/flat_exposure.h"

#include <algorithm>
#include <cmath>
#include <iostream>

#include "imaging/time_text.h"
#include "tools/orvikctl/failure.h"
#include "tools/orvikctl/units.h"

namespace orvik::ctl {
namespace {

ExposureSearch::Limits limitsOf(const Camera& camera, const FlatTarget& target) {
  const Control* const exposure = camera.control(Orvik_CTL_EXPOSURE);
  if (exposure == nullptr) throw Failure(ExitCode::kUsage, "this camera's exposure is fixed.");
  using std::chrono::microseconds;
  const microseconds shortest(std::max(exposure->min(), 1));
  return {shortest, std::clamp(target.longest, shortest, microseconds(exposure->max()))};
}

std::string levelText(double level) { return fixedText(100 * level, 1) + " %"; }

}  // namespace

FlatExposure::FlatExposure(const Camera& camera, StillCapture& stills, const FlatTarget& target,
                           bool quiet)
    : stills_(stills),
      search_(target.level, limitsOf(camera, target)),
      limits_(limitsOf(camera, target)),
      quiet_(quiet) {}

bool FlatExposure::find() {
  for (;;) {
    stills_.setExposure(search_.exposure());
    const std::string tried = imaging::formatDuration(search_.exposure().count());
    if (!stills_.takeTrial(
            [&](double left) { return "trial of " + tried + ", " + clockText(left) + " left"; })) {
      return false;
    }
    const double level = centralLevel(stills_.source());
    const ExposureSearch::State state = search_.tell(level);
    stills_.clearProgress();
    if (!quiet_) {
      std::cerr << (state == ExposureSearch::State::kFound ? "flats: " : "trial: ") << tried
                << " gives a median of " << levelText(level) << '\n';
    }
    if (state == ExposureSearch::State::kFound) return true;
    if (state != ExposureSearch::State::kSearching) require(state, level);
  }
}

void FlatExposure::follow() {
  const ExposureSearch::Exposure before = search_.exposure();
  const double level = centralLevel(stills_.source());
  require(search_.follow(level), level);
  if (search_.exposure() == before) return;
  stills_.setExposure(search_.exposure());
  stills_.clearProgress();
  if (!quiet_) {
    std::cerr << "the light has changed: a median of " << levelText(level) << ", from "
              << imaging::formatDuration(before.count()) << " to "
              << imaging::formatDuration(search_.exposure().count()) << '\n';
  }
}

void FlatExposure::require(ExposureSearch::State state, double level) const {
  if (state == ExposureSearch::State::kFound) return;
  std::string what = "the light is too unsteady for a median of " + levelText(search_.wanted());
  if (state == ExposureSearch::State::kTooDark) {
    what = "the light is too weak for a median of " + levelText(search_.wanted()) +
           " within exposures of " + imaging::formatDuration(limits_.longest.count()) +
           ". Use more light, a higher --gain or a longer --max-exposure";
  } else if (state == ExposureSearch::State::kTooBright) {
    what = "the light is too strong: even " + imaging::formatDuration(limits_.shortest.count()) +
           " is brighter than " + levelText(search_.wanted()) + ". Dim it, or use a lower --gain";
  }
  throw Failure(ExitCode::kCameraFailed, what + " (the last image had " + levelText(level) + ").");
}

}  // namespace orvik::ctl
