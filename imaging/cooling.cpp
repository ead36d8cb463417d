// SPDX-License-Identifier: MIT
#include "imaging/cooling.h"

#include <algorithm>
#include <system_error>
#include <utility>

#include "imaging/cooling_ramp.h"

namespace orvik::imaging {
namespace {

constexpr double kTickSeconds = 1;

}  // namespace

Cooling::Cooling(Camera& camera, Report report)
    : camera_(camera),
      report_(std::move(report)),
      begun_(Clock::now()),
      startedAt_(camera.get(control::kTemperature).degrees) {}

Cooling::~Cooling() {
  std::error_code ignored;  // closing the camera switches the cooler off as well
  camera_.set(control::kCoolerOn, false, ignored);
}

bool Cooling::lead(double to, double degreesPerMinute, std::optional<double> seconds,
                   const std::stop_token& stop) {
  // A ramp begins at the last temperature that could be read.
  const CoolingRamp ramp(camera_.cooler().temperature / 10.0, to, degreesPerMinute);
  const auto begun = Clock::now();
  for (;;) {
    const double gone = std::chrono::duration<double>(Clock::now() - begun).count();
    follow(ramp.targetAt(gone));
    if (seconds && gone >= *seconds) return true;
    const std::chrono::duration<double> pause(seconds ? std::min(*seconds - gone, kTickSeconds)
                                                      : kTickSeconds);
    if (!sleepFor(std::chrono::duration_cast<Clock::duration>(pause), stop)) return false;
  }
}

bool Cooling::warmUp(double degreesPerMinute, const std::stop_token& stop) {
  const CoolingRamp ramp(camera_.cooler().temperature / 10.0, startedAt_, degreesPerMinute);
  return lead(startedAt_, degreesPerMinute, ramp.duration(), stop);
}

void Cooling::follow(int target) {
  if (!target_ || *target_ != target) {
    camera_.set(control::kTargetTemperature, target);
    if (!target_) camera_.set(control::kCoolerOn, true);
    target_ = target;
  }
  const Orvik_COOLER_STATUS status = camera_.cooler();
  last_ = {.seconds = std::chrono::duration<double>(Clock::now() - begun_).count(),
           .temperature = status.temperature / 10.0,
           .target = target,
           .power = status.power,
           .fault = status.fault};
  if (report_) report_(last_);
}

}  // namespace orvik::imaging
