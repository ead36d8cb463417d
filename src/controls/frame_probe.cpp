// SPDX-License-Identifier: MIT
#include "controls/frame_probe.h"

#include <utility>

namespace orvik {

static_assert(std::atomic<Wanted>::is_always_lock_free);

std::optional<FrameMeasurement> FrameProbe::ask(Wanted wanted) {
  std::unique_lock lock(mutex_);
  answer_.reset();
  wanted_ = wanted;
  changed_.wait(lock, [this] { return answer_ || closed_; });
  wanted_ = Wanted{};
  return std::exchange(answer_, std::nullopt);
}

void FrameProbe::answer(const FrameMeasurement& measurement) {
  {
    const std::lock_guard lock(mutex_);
    wanted_ = Wanted{};
    answer_ = measurement;
  }
  changed_.notify_one();
}

void FrameProbe::close() {
  {
    const std::lock_guard lock(mutex_);
    closed_ = true;
  }
  changed_.notify_one();
}

}  // namespace orvik
