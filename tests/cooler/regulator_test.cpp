// SPDX-License-Identifier: MIT
#include "cooler/regulator.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "cooler/drive_law.h"

namespace orvik::cooler {
namespace {

TEST(GlitchFilter, RefusesWhatMovesTooFastUntilItLasts) {
  GlitchFilter filter;
  EXPECT_TRUE(filter.accept(20, 1000)) << "the first reading";
  EXPECT_TRUE(filter.accept(21.9F, 2000));
  EXPECT_FALSE(filter.accept(23.9F, 3000)) << "2 degrees in a second";
  EXPECT_FALSE(filter.accept(-40, 4000));
  EXPECT_TRUE(filter.accept(23.9F, 4000)) << "2 degrees in two seconds";
  EXPECT_FALSE(filter.accept(30, 4000)) << "no time at all";
  EXPECT_TRUE(filter.accept(23.9F, 4000));
}

TEST(GlitchFilter, MillisecondsMayWrapAround) {
  GlitchFilter filter;
  EXPECT_TRUE(filter.accept(20, 0xFFFFFF00U));
  EXPECT_TRUE(filter.accept(20.5F, 0x00000100U));
  EXPECT_FALSE(filter.accept(22.5F, 0x00000200U));
}

TEST(GlitchFilter, NobodyHasTakenAReadingOfZero) {
  GlitchFilter filter;
  EXPECT_TRUE(filter.accept(0, 1000));
  EXPECT_TRUE(filter.accept(25, 1001)) << "what a thread finds before its first reading";
}

TEST(PidController, FollowsItsFormula) {
  PidController pid;
  pid.reset({0.2F, 0, 0.6F});
  EXPECT_FLOAT_EQ(pid.step(-30), -6) << "no change is known yet";
  EXPECT_FLOAT_EQ(pid.step(-28), 0.2F * -28 + 0.6F * 2);
  EXPECT_FLOAT_EQ(pid.step(-28), 0.2F * -28);
  EXPECT_EQ(pid.error(), -28);

  pid.reset({0, 0.5F, 0});
  EXPECT_FLOAT_EQ(pid.step(2), 1);
  EXPECT_FLOAT_EQ(pid.step(4), 3) << "the sum of both";
  pid.reset({0, 0.5F, 0});
  EXPECT_FLOAT_EQ(pid.step(2), 1) << "a reset forgets the sum";
  EXPECT_EQ(pid.outputMax(), 20);
  EXPECT_EQ(pid.outputMin(), -20);
}

/// The cooler's drive with its coarse steps, which movePower() controls.
struct Drive {
  float percent;
  int value = 0;
  std::vector<float> asked;

  explicit Drive(float start) : percent(start) { set(start); }
  void set(float wanted) {
    percent = usablePercent(wanted);
    value = driveForCurrent(currentForPercent(percent));
  }
  void move(float output, float error) {
    asked.clear();
    movePower(percent, output, error, [this](float wanted) {
      asked.push_back(wanted);
      const int before = value;
      set(wanted);
      return value != before;
    });
  }
};

TEST(MovePower, MovesTheDriveFromEveryPowerByEveryOutput) {
  for (int tenths = 0; tenths <= 1000; ++tenths) {
    for (const float output : {-30.0F, -6.0F, -0.1F, -0.001F, 0.001F, 0.1F, 6.0F, 30.0F}) {
      const float start = static_cast<float>(tenths) / 10;
      Drive drive(start);
      const int before = drive.value;
      drive.move(output, output < 0 ? -1.0F : 1.0F);
      const bool canMove = output < 0 ? before > 47 : before < 255;
      const bool moved = output < 0 ? drive.value < before : drive.value > before;
      ASSERT_EQ(moved, canMove) << start << " percent, output " << output;
    }
  }
}

TEST(MovePower, AtTheEndsOfItsRangeItAsksForNothingMore) {
  Drive full(100);
  full.move(-5, -25);
  EXPECT_TRUE(full.asked.empty());
  Drive off(0);
  off.move(5, 25);
  EXPECT_TRUE(off.asked.empty());
  full.move(5, 25);
  EXPECT_EQ(full.percent, 95) << "no wound-up past to live down";
}

TEST(MovePower, NearTheTargetItSetsOnce) {
  Drive drive(50);
  drive.move(0.01F, 0.4F);
  EXPECT_EQ(drive.asked, std::vector<float>{49.99F});
  drive.move(0, 10);
  EXPECT_EQ(drive.asked, std::vector<float>{49.99F});
}

TEST(MovePower, AnOutputTooSmallForArithmeticEnds) {
  Drive drive(50);
  drive.move(1e-9F, 1);
  EXPECT_EQ(drive.percent, 50);
  drive.move(5e-6F, 1);
  EXPECT_LT(drive.percent, 50);
}

}  // namespace
}  // namespace orvik::cooler
