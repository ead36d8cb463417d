// SPDX-License-Identifier: MIT
#include "models/readout_geometry.h"

#include <gtest/gtest.h>

#include <limits>

#include "models/models.h"

namespace orvik {
namespace {

const ModelRow& kRow = CCameraT15C::kRow;

TEST(ReadoutGeometryTest, AcceptsWhatTheSensorCanDeliver) {
  EXPECT_TRUE(canDeliver(kRow, 1304, 976, 1, IMAGE_8BIT));
  EXPECT_TRUE(canDeliver(kRow, 1300, 976, 1, IMAGE_8BIT));
  EXPECT_TRUE(canDeliver(kRow, 652, 488, 2, IMAGE_RAW16));
  EXPECT_TRUE(canDeliver(kRow, 4, 2, 4, IMAGE_RGB24));
}

TEST(ReadoutGeometryTest, RefusesEverythingElse) {
  EXPECT_FALSE(canDeliver(kRow, 1302, 976, 1, IMAGE_8BIT)) << "width in steps of 4";
  EXPECT_FALSE(canDeliver(kRow, 1304, 975, 1, IMAGE_8BIT)) << "height in steps of 2";
  EXPECT_FALSE(canDeliver(kRow, 1308, 976, 1, IMAGE_8BIT));
  EXPECT_FALSE(canDeliver(kRow, 1304, 978, 1, IMAGE_8BIT));
  EXPECT_FALSE(canDeliver(kRow, 656, 488, 2, IMAGE_8BIT));
  EXPECT_FALSE(canDeliver(kRow, 64, 64, 1, static_cast<IMAGE_TYPE>(5)));
  EXPECT_FALSE(canDeliver(kRow, 64, 64, 0, IMAGE_8BIT));
  EXPECT_FALSE(canDeliver(kRow, 64, 64, 5, IMAGE_8BIT));
  EXPECT_FALSE(canDeliver(kRow, 64, 64, -1, IMAGE_8BIT));
  EXPECT_FALSE(canDeliver(kRow, 0, 64, 1, IMAGE_8BIT));
  EXPECT_FALSE(canDeliver(kRow, -64, -64, 1, IMAGE_8BIT));
  EXPECT_FALSE(canDeliver(kRow, 1 << 30, 1 << 30, 4, IMAGE_8BIT)) << "no product may overflow";

  ModelRow mono = kRow;
  mono.imageTypes = {.raw8 = true, .rgb24 = false, .y8 = true, .raw16 = false};
  EXPECT_FALSE(canDeliver(mono, 64, 64, 1, IMAGE_RGB24));
  EXPECT_FALSE(canDeliver(mono, 64, 64, 1, IMAGE_RAW16));
}

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
