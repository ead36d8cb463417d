// SPDX-License-Identifier: MIT
#include "models/readout_geometry.h"

#include <gtest/gtest.h>

#include <limits>

#include "models/models.h"

namespace orvik {
namespace {

const ModelRow& kRow = T15C::kRow;

TEST(ReadoutGeometryTest, PositionsAreRoundedAndPushedBack) {
  EXPECT_EQ(centred(kRow, 640, 480, 2), (SensorPosition{12, 8}));
  EXPECT_EQ(readablePosition(kRow, {3, -5}, 640, 480, 1), (SensorPosition{0, 0}));
  EXPECT_EQ(readablePosition(kRow, {663, 495}, 640, 480, 1), (SensorPosition{660, 494}));
  EXPECT_EQ(readablePosition(kRow, {665, 497}, 640, 480, 1), (SensorPosition{664, 496}));
  EXPECT_EQ(readablePosition(kRow, {99999, 99999}, 640, 480, 2), (SensorPosition{24, 16}));
  constexpr int kMax = std::numeric_limits<int>::max();
  EXPECT_EQ(readablePosition(kRow, {kMax, kMax}, 1304, 976, 1), (SensorPosition{0, 0}));
}

}  // namespace
}  // namespace orvik
