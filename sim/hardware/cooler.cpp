// SPDX-License-Identifier: MIT
#include "sim/hardware/cooler.h"

#include <algorithm>
#include <chrono>
#include <cmath>

namespace orvik::sim {
namespace {

constexpr double kDeepest = 35;  // degrees below ambient at full current
constexpr double kSettlingSeconds = 60;
constexpr double kFullCurrent = 1.73;  // amperes; the source gives no more
constexpr double kConverterNoise = 0.2;

/// Amperes of the current source, measured at some values of its converter.
struct SourcePoint {
  double value;
  double amperes;
};
constexpr std::array<SourcePoint, 11> kSource = {{
    {47.3, kFullCurrent},
    {60, 1.55},
    {80, 1.29},
    {100, 1.03},
    {120, 0.81},
    {140, 0.62},
    {160, 0.45},
    {180, 0.31},
    {200, 0.19},
    {220, 0.10},
    {255, 0},
}};

double amperesAt(std::uint8_t value) {
  const auto* const above =
      std::ranges::lower_bound(kSource, static_cast<double>(value), {}, &SourcePoint::value);
  if (above == kSource.begin()) return kFullCurrent;
  const auto* const below = above - 1;
  return std::lerp(below->amperes, above->amperes,
                   (value - below->value) / (above->value - below->value));
}

double depthAt(double amperes) {
  const double x = amperes / kFullCurrent;
  return kDeepest * x * (2 - x);
}

/// Resistance of the thermistor over that of the resistor it divides with, which is its own at 25
/// degrees: an exponential of 1/T with a bend of the second order.
double resistanceRatio(double celsius) {
  constexpr double kKelvin = 273.15;
  constexpr double kSlope = 3910.15;   // kelvin
  constexpr double kBend = -148943.3;  // kelvin squared
  const double x = 1 / (celsius + kKelvin) - 1 / (25 + kKelvin);
  return std::exp(kSlope * x + kBend * x * x);
}

}  // namespace

Cooler::Cooler(double ambient, std::uint64_t noiseSeed, seam::Clock::Duration now)
    : ambient_(ambient), since_(now), noisy_(noiseSeed != 0), noise_(noiseSeed) {}

void Cooler::setDrive(std::uint8_t value, seam::Clock::Duration now) {
  depthAtSince_ = ambient_ - celsius(now);
  since_ = now;
  depth_ = depthAt(amperesAt(value));
}

double Cooler::celsius(seam::Clock::Duration now) const {
  const double seconds = std::chrono::duration<double>(now - since_).count();
  return ambient_ - depth_ - (depthAtSince_ - depth_) * std::exp(-seconds / kSettlingSeconds);
}

std::array<std::uint8_t, 2> Cooler::convert(seam::Clock::Duration now) {
  const double ratio = resistanceRatio(celsius(now));
  double steps = 256 * ratio / (ratio + 1);
  if (noisy_) steps += kConverterNoise * noise_.normal();
  const auto value = static_cast<unsigned>(std::clamp(std::round(steps), 0.0, 255.0));
  return {static_cast<std::uint8_t>((value & 0xFU) << 4U), static_cast<std::uint8_t>(value >> 4U)};
}

}  // namespace orvik::sim
