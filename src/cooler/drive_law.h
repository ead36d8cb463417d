// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <array>

namespace orvik::cooler {

/// One calibration point of the cooler's power supply.
struct DrivePoint {
  float drive;    ///< value of the 8-bit D/A converter
  float current;  ///< through the cooler, amperes
};

/// The drive is inverted: 255 is off, and the current grows as the value falls.
inline constexpr std::array<DrivePoint, 11> kDrivePoints = {{
    {255.0F, 0.0F},
    {220.0F, 0.1F},
    {200.0F, 0.19F},
    {180.0F, 0.31F},
    {160.0F, 0.45F},
    {140.0F, 0.62F},
    {120.0F, 0.81F},
    {100.0F, 1.03F},
    {80.0F, 1.29F},
    {60.0F, 1.55F},
    {47.3F, 1.73F},
}};

inline constexpr float kMinDrive = std::ranges::min(kDrivePoints, {}, &DrivePoint::drive).drive;
inline constexpr float kMaxDrive = std::ranges::max(kDrivePoints, {}, &DrivePoint::drive).drive;
/// Amperes.
inline constexpr float kMinCurrent =
    std::ranges::min(kDrivePoints, {}, &DrivePoint::current).current;
inline constexpr float kMaxCurrent =
    std::ranges::max(kDrivePoints, {}, &DrivePoint::current).current;

/// The drive value for a current.
/// @param current amperes; limited to the range of the table
/// @return 47 to 255, rounded down, towards more current.
int driveForCurrent(float current);

/// The power at a drive value.
/// @return percent of the largest current, 0 to 100, rounded down.
int percentForDrive(int drive);

/// Limits a power to what the cooler can be set to.
/// @return `percent` limited to 0 to 100; the lowest power for NaN.
float usablePercent(float percent);

/// @param percent of the largest current, 0 to 100
/// @return amperes.
float currentForPercent(float percent);

}  // namespace orvik::cooler
