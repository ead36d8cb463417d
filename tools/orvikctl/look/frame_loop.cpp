// SPDX-License-Identifier: MIT
#include "tools/orvikctl/look/frame_loop.h"

#include <algorithm>
#include <iostream>
#include <utility>

namespace orvik::ctl {
namespace {

constexpr auto kLongExposure = std::chrono::seconds(1);

}  // namespace

FrameLoop::FrameLoop(Camera& camera, std::optional<std::chrono::microseconds> limit,
                     std::stop_token stop)
    : camera_(camera), stop_(std::move(stop)) {
  if (limit) end_ = Clock::now() + *limit;
  // Automatic exposure works in videos only.
  const bool isAutomatic = camera.read(Orvik_CTL_EXPOSURE).isAuto;
  if (!isAutomatic && camera.get(control::kExposure) >= kLongExposure) return;
  video_.emplace(camera, stop_);
  if (limit) video_->stopAt(end_);
}

bool FrameLoop::next(Frame& frame) {
  if (!std::cout.good()) return false;
  return video_ ? video_->next(frame) : nextSnapshot(frame);
}

bool FrameLoop::nextSnapshot(Frame& frame) {
  constexpr auto kLongestStep = std::chrono::milliseconds(100);
  constexpr auto kShortestStep = std::chrono::milliseconds(1);
  if (stop_.stop_requested() || Clock::now() >= end_) return false;
  Snapshot snapshot(camera_);
  while (!snapshot.isReady()) {
    const auto step = std::clamp<Clock::duration>(snapshot.left() / 2, kShortestStep, kLongestStep);
    if (!sleepFor(step, stop_) || Clock::now() >= end_) return false;
  }
  snapshot.fetch(frame);
  return true;
}

}  // namespace orvik::ctl
