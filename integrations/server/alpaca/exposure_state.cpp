// SPDX-License-Identifier: MIT
#include "integrations/server/alpaca/exposure_state.h"

#include <algorithm>
#include <utility>

namespace orvik::server {

void ExposureState::claim(std::stop_source stop) {
  if (isUnderWay()) {
    throw AlpacaError(ErrorNumber::kInvalidOperation, "An exposure is under way.");
  }
  isClaimed_ = true;
  stop_ = std::move(stop);
}

void ExposureState::accept() {
  if (!std::exchange(isClaimed_, false)) return;
  phase_ = Phase::kExposing;
  begun_.reset();
  failure_.reset();
  last_.image.reset();
}

void ExposureState::begun(Clock::time_point now, std::chrono::microseconds length) {
  begun_ = now;
  length_ = length;
}

void ExposureState::storing() { phase_ = Phase::kStoring; }

void ExposureState::finish(TakenImage taken) {
  phase_ = Phase::kIdle;
  if (stop_.stop_requested() || !taken.image) return;
  last_ = std::move(taken);
  hasLast_ = true;
}

void ExposureState::fail(const AlpacaError& error) {
  phase_ = Phase::kIdle;
  // An abort may show as a failure.
  if (!stop_.stop_requested()) failure_ = error;
}

void ExposureState::abort() {
  if (isUnderWay()) stop_.request_stop();
}

CameraState ExposureState::state(Clock::time_point now) const {
  switch (phase_) {
    case Phase::kExposing:
      return isTimeOver(now) ? CameraState::kReading : CameraState::kExposing;
    case Phase::kStoring:
      return CameraState::kDownload;
    case Phase::kIdle:
      break;
  }
  return failure_ ? CameraState::kError : CameraState::kIdle;
}

int ExposureState::percent(Clock::time_point now) const {
  switch (phase_) {
    case Phase::kExposing: {
      if (!begun_) return 0;
      if (isTimeOver(now)) return 100;
      const std::chrono::duration<double> done = now - *begun_;
      return std::clamp(static_cast<int>(100 * (done / length_)), 0, 99);
    }
    case Phase::kStoring:
      return 100;
    case Phase::kIdle:
      break;
  }
  return last_.image ? 100 : 0;
}

}  // namespace orvik::server
