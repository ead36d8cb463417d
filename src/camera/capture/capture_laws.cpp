// SPDX-License-Identifier: MIT
#include "camera/capture/capture_laws.h"

namespace orvik {
namespace {

using namespace std::chrono_literals;

constexpr std::uint64_t kLongExposureUs = 1'000'000;
constexpr int kBlankRows = 18;
constexpr auto kFallbackPeriod = 20s;
constexpr auto kGroupDistance = 5s;
constexpr std::uint32_t kGroupSize = 3;

}  // namespace

std::uint64_t transferWaitMs(std::uint64_t exposureUs, double frameTimeUs, ReadPatience patience) {
  if (static_cast<double>(exposureUs) >= frameTimeUs) {
    return exposureUs / 1000 + (exposureUs < kLongExposureUs ? 1000 : 2000);
  }
  return static_cast<std::uint64_t>(frameTimeUs * patience.frameTimes / 1000) +
         static_cast<std::uint64_t>(patience.margin.count());
}

double frameTimeUs(int rows, int lineLength, int clockKhz) {
  if (clockKhz <= 0) return 0;
  return static_cast<double>(rows + kBlankRows) * lineLength * 1000.0 / clockKhz;
}

bool snapshotHasFailed(std::uint32_t badFrames, std::uint64_t exposureUs) {
  return badFrames * exposureUs > kLongExposureUs;
}

bool BandwidthFallback::onBadFrame(Time now, bool automatic, std::uint32_t& badFrames) {
  if (!automatic || now - start_ >= kFallbackPeriod || badFrames < kGroupSize) return false;
  badFrames = 0;
  const bool closeToLast = lastGroup_ && now - *lastGroup_ < kGroupDistance;
  lastGroup_ = now;
  return closeToLast;
}

}  // namespace orvik
