// SPDX-License-Identifier: MIT
#include "models/end_mark_timing.h"

#include <algorithm>

#include "models/bandwidth_law.h"

namespace orvik::end_mark {
namespace {

constexpr int kBlankCycles = 94;
constexpr std::uint64_t kMaxFrameLength = 65535;

}  // namespace

int clockFor(bool fast, int overClock) {
  return (fast ? kFastClockKhz : kNormalClockKhz) * (100 + overClock) / 100;
}

int minLineLength(int maxWidth) { return maxWidth + kBlankCycles; }

Exposure exposureFor(std::uint64_t exposureUs, int rows, int lineLength, int clockKhz,
                     std::uint64_t longExposureUs) {
  const double lineTimeUs = lineLength * 1000.0 / clockKhz;
  const auto whole = static_cast<std::uint64_t>(static_cast<double>(exposureUs) / lineTimeUs);
  const std::uint64_t lines = std::max(whole, std::uint64_t{1});
  const auto shortest = static_cast<std::uint64_t>(rows) + kBlankRows;
  const std::uint64_t frameLength = std::max(shortest, lines + 1);
  if (exposureUs >= longExposureUs || frameLength > kMaxFrameLength) {
    return {.frameLength = static_cast<std::uint16_t>(shortest), .lines = 0};
  }
  return {.frameLength = static_cast<std::uint16_t>(frameLength),
          .lines = static_cast<std::uint16_t>(lines)};
}

}  // namespace orvik::end_mark
