// SPDX-License-Identifier: MIT
#include "cooler/drive_law.h"

#include "cooler/interpolate.h"

namespace orvik::cooler {

int driveForCurrent(float current) {
  current = std::clamp(current, kMinCurrent, kMaxCurrent);
  const auto within = interpolate(kDrivePoints, &DrivePoint::current, &DrivePoint::drive, current);
  const float drive =
      within ? *within : nearestRow(kDrivePoints, &DrivePoint::current, current).drive;
  const auto whole = static_cast<float>(static_cast<int>(drive));
  return static_cast<int>(std::clamp(whole, kMinDrive, kMaxDrive));
}

int percentForDrive(int drive) {
  const float value = std::clamp(static_cast<float>(drive), kMinDrive, kMaxDrive);
  const auto within = interpolate(kDrivePoints, &DrivePoint::drive, &DrivePoint::current, value);
  const float current =
      within ? *within : nearestRow(kDrivePoints, &DrivePoint::drive, value).current;
  return static_cast<int>(std::clamp(current, 0.0F, kMaxCurrent) * 100 / kMaxCurrent);
}

float usablePercent(float percent) {
  constexpr float kLeast = kMinCurrent * 100 / kMaxCurrent;
  // In this form of the comparison NaN becomes the lowest power.
  return percent >= kLeast ? std::min(percent, 100.0F) : kLeast;
}

float currentForPercent(float percent) { return kMaxCurrent * percent / 100; }

}  // namespace orvik::cooler
