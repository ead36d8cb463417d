// SPDX-License-Identifier: MIT
#include "models/marked_timing.h"

#include <algorithm>

#include "models/bandwidth_law.h"

namespace orvik::marked {
namespace {

constexpr std::uint64_t kMaxFrameLength = 0xFFFFFF;
constexpr std::int64_t kMinShutterStart = 2;

constexpr SensorClock kBinnedClock{0x10, 9281, 145};
constexpr SensorClock kFastClock{0x10, 37124, 249};
constexpr SensorClock kNormalClock{0x11, 18562, 292};
constexpr std::uint8_t kSlowestClock = 0x12;

}  // namespace

SensorClock clockForMode(bool binsOnSensor, bool highSpeed, bool output16Bits) {
  if (binsOnSensor) return kBinnedClock;
  if (highSpeed && !output16Bits) return kFastClock;
  return kNormalClock;
}

SensorClock clockForKhz(int khz, bool binsOnSensor) {
  if (khz == kNormalClock.khz) return kNormalClock;
  if (khz == kFastClock.khz) return kFastClock;
  if (khz == kBinnedClock.khz && binsOnSensor) return kBinnedClock;
  return {kSlowestClock, khz, kNormalClock.minLineLength};
}

ShutterTiming shutterFor(std::uint64_t exposureUs, int rows, int lineLength, int clockKhz) {
  const auto lineTimeUs = static_cast<float>(lineLength * 1000.0 / clockKhz);
  const auto frameTimeUs =
      static_cast<std::uint64_t>(static_cast<float>(rows + kBlankRows - 1) * lineTimeUs);
  const auto lines = static_cast<std::uint64_t>(static_cast<float>(exposureUs) / lineTimeUs);

  std::uint64_t frameLength = 0;
  std::uint64_t shutterStart = 0;
  if (exposureUs <= frameTimeUs) {
    frameLength = std::uint64_t{static_cast<std::uint32_t>(rows)} + kBlankRows;
    const auto start =
        static_cast<std::int64_t>(frameLength) - static_cast<std::int64_t>(lines) - 1;
    const std::int64_t lastStart = rows + kBlankRows - 2;
    shutterStart = static_cast<std::uint64_t>(std::clamp(start, kMinShutterStart, lastStart));
  } else {
    frameLength = lines + 1;
  }
  frameLength = std::min(frameLength, kMaxFrameLength);
  return {static_cast<std::uint32_t>(frameLength), static_cast<std::uint32_t>(shutterStart),
          static_cast<std::uint32_t>(frameLength - shutterStart - 2)};
}

}  // namespace orvik::marked
