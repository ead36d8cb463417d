// SPDX-License-Identifier: MIT
#include "base/current_clock.h"

#include <utility>

namespace orvik {
namespace {

std::mutex mutex;
std::shared_ptr<seam::Clock> installedClock;

}  // namespace

std::shared_ptr<seam::Clock> currentClock() {
  // Never destroyed: threads may still use it when the program ends.
  static const auto& steady = *new auto(std::make_shared<seam::SteadyClock>());
  const std::lock_guard lock(mutex);
  if (installedClock) return installedClock;
  return steady;
}

void installClock(std::shared_ptr<seam::Clock> clock) {
  const std::lock_guard lock(mutex);
  installedClock = std::move(clock);
}

}  // namespace orvik
