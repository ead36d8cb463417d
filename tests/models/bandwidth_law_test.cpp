// SPDX-License-Identifier: MIT
#include "models/bandwidth_law.h"

#include <gtest/gtest.h>

namespace orvik {
namespace {

TEST(BandwidthLawTest, LineLengthKeepsWithinWhatTheLinkCarries) {
  for (const int bytesPerPercent : {kBytesPerPercentUsb2, kBytesPerPercentUsb3}) {
    for (int bandwidth = kMinBandwidth; bandwidth <= kMaxBandwidth; ++bandwidth) {
      for (const bool wide : {false, true}) {
        const int cycles =
            lineLengthFor(bandwidth, {bytesPerPercent, 292}, {976, 1304, wide}, 18562);
        const double framesPerSecond = 18562e3 / (cycles * 994.0);
        const double bytesPerSecond = framesPerSecond * 976 * 1304 * (wide ? 2 : 1);
        const double allowed = bandwidth * bytesPerPercent * 10.0;
        // Truncating to whole cycles may exceed the limit by up to one cycle per line.
        EXPECT_LE(bytesPerSecond, allowed * (cycles + 1.0) / cycles * 1.0001);
        if (cycles > 292) {
          EXPECT_GE(bytesPerSecond, allowed * 0.999);
        }
      }
    }
  }
  EXPECT_EQ(lineLengthFor(100, {kBytesPerPercentUsb3, 292}, {64, 64, false}, 18562), 292)
      << "a small region is as fast as the sensor";
  EXPECT_EQ(lineLengthFor(40, {0, 292}, {976, 1304, true}, 37124), 65535);
}

TEST(BandwidthLawTest, FrameRate) { EXPECT_NEAR(maxFrameRate(976, 292, 18562), 63.95F, 0.01F); }

}  // namespace
}  // namespace orvik
