// SPDX-License-Identifier: MIT
#include "models/marked_timing.h"

#include <algorithm>

namespace orvik::marked {
namespace {

constexpr int kBlankRows = 18;
constexpr int kMaxLineLength = 65535;
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

int lineLengthFor(int bandwidth, int bytesPerPercent, int rows, int columns, bool output16Bits,
                  int clockKhz, int minLineLength) {
  const int bytesPerSample = output16Bits ? 2 : 1;
  const auto framesPerSecond =
      static_cast<float>(bandwidth * bytesPerPercent * 10.0 / bytesPerSample / rows / columns);
  const float lineTimeUs = 1'000'000.0F / framesPerSecond / static_cast<float>(rows + kBlankRows);
  const auto cycles = static_cast<double>(lineTimeUs * static_cast<float>(clockKhz)) / 1000.0;
  return std::clamp(static_cast<int>(std::min(cycles, double{kMaxLineLength})), minLineLength,
                    kMaxLineLength);
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

float maxFrameRate(int rows, int lineLength, int clockKhz) {
  return static_cast<float>(clockKhz * 1000.0 /
                            (static_cast<double>(lineLength) * (rows + kBlankRows)));
}

}  // namespace orvik::marked
