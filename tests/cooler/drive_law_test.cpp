// SPDX-License-Identifier: MIT
#include "cooler/drive_law.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace orvik::cooler {
namespace {

int driveForPercent(float percent) {
  return driveForCurrent(currentForPercent(usablePercent(percent)));
}

TEST(DriveLaw, KnownPoints) {
  EXPECT_EQ(driveForPercent(0), 255);
  EXPECT_EQ(driveForPercent(100), 47);
  EXPECT_EQ(driveForCurrent(0.5F), 154);
  for (const DrivePoint& point : kDrivePoints) {
    // A point is the end of two segments. Their values may differ only because of rounding down.
    EXPECT_NEAR(driveForCurrent(point.current), std::floor(point.drive), 1) << point.current;
    EXPECT_NEAR(percentForDrive(static_cast<int>(point.drive)), point.current * 100 / kMaxCurrent,
                1.01)
        << point.drive;
  }
}

TEST(DriveLaw, MorePowerNeverMeansLessDriveAndNoStepIsSkipped) {
  int last = driveForPercent(0);
  for (int tenths = 1; tenths <= 1000; ++tenths) {
    const int drive = driveForPercent(static_cast<float>(tenths) / 10);
    ASSERT_LE(drive, last) << tenths;
    ASSERT_GE(drive, last - 1) << "a tenth of a percent is finer than the drive, at " << tenths;
    last = drive;
  }
  EXPECT_EQ(last, 47);
}

TEST(DriveLaw, EveryDriveStandsForThePowerThatMakesIt) {
  int last = percentForDrive(256);
  for (int drive = 255; drive >= 47; --drive) {
    const int percent = percentForDrive(drive);
    ASSERT_GE(percent, last) << drive;
    ASSERT_LE(percent, 100);
    // Both conversions round down. The percentage is too low by at most 1, and so is the drive.
    ASSERT_GE(driveForPercent(static_cast<float>(percent)), drive - 1) << drive;
    ASSERT_LE(driveForPercent(static_cast<float>(percent + 1)), drive) << drive;
    last = percent;
  }
  EXPECT_EQ(percentForDrive(255), 0);
  EXPECT_EQ(percentForDrive(47), 100);
}

TEST(DriveLaw, WhatLiesBeyondBecomesTheNearest) {
  constexpr float kHuge = std::numeric_limits<float>::max();
  EXPECT_EQ(driveForCurrent(kHuge), 47);
  EXPECT_EQ(driveForCurrent(-kHuge), 255);
  EXPECT_EQ(driveForCurrent(std::nanf("")), 255);
  EXPECT_EQ(percentForDrive(0), 100);
  EXPECT_EQ(percentForDrive(-1), 100);
  EXPECT_EQ(percentForDrive(std::numeric_limits<int>::min()), 100);
  EXPECT_EQ(percentForDrive(300), 0);
  EXPECT_EQ(usablePercent(150), 100);
  EXPECT_EQ(usablePercent(-0.1F), 0);
  EXPECT_EQ(usablePercent(std::nanf("")), 0);
}

}  // namespace
}  // namespace orvik::cooler
