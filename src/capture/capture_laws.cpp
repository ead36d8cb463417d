// SPDX-License-Identifier: MIT
#include "capture/capture_laws.h"

#include <algorithm>

namespace orvik {
namespace {

using namespace std::chrono_literals;

constexpr std::uint64_t kLongExposureUs = 1'000'000;
constexpr auto kFallbackPeriod = 20s;
constexpr auto kGroupDistance = 5s;
constexpr std::uint32_t kGroupSize = 3;

}  // namespace

std::uint64_t readTimeoutMs(std::uint64_t exposureUs, double frameTimeUs, TimeoutLaw timeoutLaw) {
  if (static_cast<double>(exposureUs) >= frameTimeUs) {
    return exposureUs / 1000 + (exposureUs < kLongExposureUs ? 1000 : 2000);
  }
  return static_cast<std::uint64_t>(frameTimeUs * timeoutLaw.frameTimes / 1000) +
         static_cast<std::uint64_t>(timeoutLaw.margin.count());
}

bool snapshotHasFailed(std::uint32_t badFrames, std::uint64_t exposureUs) {
  return badFrames * exposureUs > kLongExposureUs;
}

bool BandwidthFallback::onBadFrame(Time now, bool automatic, Time since, std::uint32_t& badFrames) {
  const Time begin = std::max(start_, since);
  if (!automatic || now - begin >= kFallbackPeriod || badFrames < kGroupSize) return false;
  badFrames = 0;
  const bool closeToLast = lastGroup_ && now - *lastGroup_ < kGroupDistance;
  lastGroup_ = now;
  return closeToLast;
}

}  // namespace orvik
