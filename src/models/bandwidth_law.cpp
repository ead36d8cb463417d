// SPDX-License-Identifier: MIT
#include "models/bandwidth_law.h"

#include <algorithm>

namespace orvik {

int lineLengthFor(int bandwidth, LineLimits limits, FrameShape frame, int clockKhz) {
  const int bytesPerSample = frame.output16Bits ? 2 : 1;
  const auto framesPerSecond = static_cast<float>(bandwidth * limits.bytesPerPercent * 10.0 /
                                                  bytesPerSample / frame.rows / frame.columns);
  const float lineTimeUs =
      1'000'000.0F / framesPerSecond / static_cast<float>(frame.rows + kBlankRows);
  const auto cycles = static_cast<double>(lineTimeUs * static_cast<float>(clockKhz)) / 1000.0;
  return std::clamp(static_cast<int>(std::min(cycles, double{kMaxLineLength})),
                    limits.minLineLength, kMaxLineLength);
}

float maxFrameRate(int rows, int lineLength, int clockKhz) {
  return static_cast<float>(clockKhz * 1000.0 /
                            (static_cast<double>(lineLength) * (rows + kBlankRows)));
}

}  // namespace orvik
