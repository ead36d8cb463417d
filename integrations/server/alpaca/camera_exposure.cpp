// SPDX-License-Identifier: MIT
// The exposures of an AlpacaCamera.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <stop_token>
#include <string>
#include <utility>

#include "imaging/time_text.h"
#include "integrations/server/alpaca/alpaca_camera.h"

namespace orvik::server {

/// An exposure from its acceptance to its end.
struct AlpacaCamera::Exposure {
  std::shared_ptr<ExposureState> state;  ///< that of the connection in which it was started
  ExposureRequest request;
  std::stop_source stop;  ///< requested by clients only
  TakenImage taken;
  std::optional<AlpacaError> error;
};

ExposureRequest AlpacaCamera::requestFor(double seconds, bool isLight) const {
  const auto description = known();
  const Control& exposure = knownControl(*description, Orvik_CTL_EXPOSURE, "exposure");
  const Orvik_CAMERA_INFO& info = description->info;
  ExposureSettings settings;
  {
    const std::scoped_lock lock(mutex_);
    settings = settings_;
  }
  double microseconds = std::round(seconds * 1e6);
  if (seconds == 0 && !isLight) microseconds = exposure.min();  // a bias frame
  if (!(microseconds >= exposure.min() && microseconds <= exposure.max())) {
    throw AlpacaError(ErrorNumber::kInvalidValue,
                      "The camera exposes " + imaging::formatDuration(exposure.min()) + " to " +
                          imaging::formatDuration(exposure.max()) + ".");
  }
  const Subframe& part = settings.subframe;
  if (!isOnSensor(part, info.maxWidth, info.maxHeight)) {
    throw AlpacaError(ErrorNumber::kInvalidValue,
                      "The subframe of " + std::to_string(part.numX) + " x " +
                          std::to_string(part.numY) + " at " + std::to_string(part.startX) + ", " +
                          std::to_string(part.startY) + " is not on the sensor, which has " +
                          std::to_string(info.maxWidth / part.bin) + " x " +
                          std::to_string(info.maxHeight / part.bin) + " pixels with this bin.");
  }
  const ReadoutMode mode =
      readoutModes(*description)[static_cast<std::size_t>(settings.readoutMode)];
  ExposureRequest request;
  request.subframe = part;
  request.type = mode.type;
  request.isFast = mode.isFast;
  request.gain = settings.gain;
  if (description->control(Orvik_CTL_BRIGHTNESS) != nullptr) request.offset = settings.offset;
  request.length = std::chrono::microseconds(static_cast<std::int64_t>(microseconds));
  return request;
}

void AlpacaCamera::startExposure(double seconds, bool isLight) {
  const auto exposure = std::make_shared<Exposure>();
  exposure->request = requestFor(seconds, isLight);
  {
    const std::scoped_lock lock(mutex_);
    if (!isConnected_) {
      throw AlpacaError(ErrorNumber::kNotConnected, "The camera is not connected.");
    }
    exposures_->claim(exposure->stop);
    exposure->state = exposures_;
  }
  const auto self = shared_from_this();
  Capture capture;
  capture.what =
      "exposure of " + imaging::formatDuration(exposure->request.length.count()) + " by Alpaca";
  capture.hasOwnSettings = true;
  capture.run = [self, exposure](CaptureContext& context) { self->expose(*exposure, context); };
  capture.done = [self, exposure](const Outcome& outcome) { self->ended(*exposure, outcome); };
  const bool isAccepted = served_->tryCapture(std::move(capture));
  std::unique_lock lock(mutex_);
  if (isAccepted) {
    exposure->state->accept();
    return;
  }
  exposure->state->unclaim();
  lock.unlock();
  exposureIsOver();
  const std::string what = served_->status()->capture;
  throw AlpacaError(ErrorNumber::kInvalidOperation,
                    "The camera is busy" + (what.empty() ? "." : " with: " + what + "."));
}

void AlpacaCamera::expose(Exposure& exposure, CaptureContext& context) {
  {
    const std::scoped_lock lock(mutex_);
    exposure.state->accept();
  }
  // Ends with either: that of our clients, and that of everybody else.
  std::stop_source stop;
  const auto requestStop = [&stop] { stop.request_stop(); };
  const std::stop_callback ours(exposure.stop.get_token(), requestStop);
  const std::stop_callback others(context.stop(), requestStop);
  ExposureProgress progress;
  progress.begun = [&](std::chrono::microseconds length) {
    const std::scoped_lock lock(mutex_);
    exposure.state->begun(ExposureState::Clock::now(), length);
  };
  progress.storing = [&] {
    const std::scoped_lock lock(mutex_);
    exposure.state->storing();
  };
  progress.stored = [&](const SharedFrame& frame) { context.show(frame); };
  try {
    exposure.taken =
        takeImage(context.camera(), exposure.request, room_, stop.get_token(), progress);
    if (!exposure.taken.image && !exposure.stop.stop_requested()) {
      throw AlpacaError(ErrorNumber::kCancelled, "The exposure was stopped by another user.");
    }
  } catch (const AlpacaError& error) {
    exposure.error = error;
    throw;
  }
}

void AlpacaCamera::ended(Exposure& exposure, const Outcome& outcome) {
  {
    const std::scoped_lock lock(mutex_);
    exposure.state->accept();  // if it has ended before it could begin
    if (outcome) {
      exposure.state->fail(exposure.error ? *exposure.error : errorOf(*outcome));
    } else {
      exposure.state->finish(std::move(exposure.taken));
    }
  }
  exposure.taken = {};
  exposureIsOver();
}

void AlpacaCamera::abortExposure(const PutDone& done) {
  std::unique_lock lock(mutex_);
  if (exposures_->isUnderWay()) {
    exposures_->abort();
    afterExposure_.emplace_back([done] { done({}); });
    return;
  }
  lock.unlock();
  done({});
}

void AlpacaCamera::exposureIsOver() {
  std::unique_lock lock(mutex_);
  const auto waiting = std::exchange(afterExposure_, {});
  lock.unlock();
  for (const auto& tell : waiting) tell();
}

}  // namespace orvik::server
