// SPDX-License-Identifier: MIT
#include "integrations/server/capture/capture_progress.h"

#include <algorithm>

namespace orvik::server {

void CaptureProgress::begin(Clock::time_point now, Seconds exposure) {
  const std::scoped_lock lock(mutex_);
  if (begun_++ == 0) first_ = now;
  last_ = now;
  exposure_ = exposure;
}

void CaptureProgress::frame(std::int64_t lost) {
  const std::scoped_lock lock(mutex_);
  ++frames_;
  lost_ = lost;
}

void CaptureProgress::imageLost() {
  const std::scoped_lock lock(mutex_);
  ++lost_;
}

std::int64_t CaptureProgress::lost() const {
  const std::scoped_lock lock(mutex_);
  return lost_;
}

CaptureProgress::Seconds CaptureProgress::exposureLeft(Clock::time_point now) const {
  const std::scoped_lock lock(mutex_);
  return begun_ == 0 ? Seconds(0) : std::max(Seconds(0), exposure_ - Seconds(now - last_));
}

std::optional<CaptureProgress::Seconds> CaptureProgress::remaining(Clock::time_point now) const {
  const std::scoped_lock lock(mutex_);
  if (begun_ == 0) return std::nullopt;
  const auto left = request_.kind == CaptureKind::kVideo ? videoRemains(now) : imagesRemain(now);
  return left ? std::optional(std::max(Seconds(0), *left)) : std::nullopt;
}

std::optional<CaptureProgress::Seconds> CaptureProgress::imagesRemain(Clock::time_point now) const {
  if (!request_.count) return std::nullopt;
  // From start to start: what the former ones took, which includes the read-out.
  const Seconds measured =
      begun_ < 2 ? exposure_ : Seconds(last_ - first_) / static_cast<double>(begun_ - 1);
  const Seconds cycle = std::max(request_.interval, measured);
  const auto toBegin = static_cast<double>(*request_.count - (begun_ - lost_));
  return toBegin * cycle + exposure_ - Seconds(now - last_);
}

std::optional<CaptureProgress::Seconds> CaptureProgress::videoRemains(Clock::time_point now) const {
  const Seconds gone(now - first_);
  std::optional<Seconds> left;
  if (request_.length) left = *request_.length - gone;
  if (request_.count && frames_ > 0) {
    const Seconds byCount =
        gone / static_cast<double>(frames_) * static_cast<double>(*request_.count - frames_);
    left = left ? std::min(*left, byCount) : byCount;
  }
  return left;
}

}  // namespace orvik::server
