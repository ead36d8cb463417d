// SPDX-License-Identifier: MIT
#include "sim/telescope/air.h"

#include <cmath>
#include <numbers>

#include "sim/random.h"

namespace orvik::sim {
namespace {

constexpr double kPi = std::numbers::pi;
constexpr int kWaves = 48;  // along each axis
/// The time after which a tilt has about been forgotten: its correlation is exp(-t / kMemory).
/// That is longer than the wind takes to cross the aperture, since large eddies tilt the image
/// most.
constexpr double kMemory = 0.2;  // seconds
/// Standard deviation of the tilt along one axis, as a share of the width after a long exposure.
/// Turbulence after Kolmogorov has a tilt variance of 0.18 (D/r0)^(5/3) (lambda/D)^2 and a width of
/// 0.98 lambda/r0, D being the aperture and r0 Fried's parameter (R. J. Noll, J. Opt. Soc. Am. 66,
/// 207, 1976; D. L. Fried, J. Opt. Soc. Am. 56, 1372, 1966): their ratio is 0.43 (D/r0)^(-1/6),
/// here with D = 4 r0.
constexpr double kTiltShare = 0.345;
const double kSigmasPerWidth = 2 * std::sqrt(2 * std::numbers::ln2);

/// The mean of cos(2 pi frequency t) over a time of `seconds` around its peak.
double attenuation(double frequency, double seconds) {
  const double x = kPi * frequency * seconds;
  return x < 1e-6 ? 1 : std::sin(x) / x;
}

}  // namespace

Air::Air(double fwhm, std::uint64_t seed)
    : tiltSigma_(kTiltShare * fwhm),
      shortSigma_(std::sqrt(std::pow(fwhm / kSigmasPerWidth, 2) - tiltSigma_ * tiltSigma_)) {
  if (fwhm <= 0) return;
  Random random(seed ^ 0x616972U);
  for (Waves& waves : waves_) {
    for (int n = 0; n < kWaves; ++n) {
      // Each wave stands for an equal part of the power in the spectrum of such a correlation,
      // 1 / (1 + (2 pi f kMemory)^2).
      const double share = (n + random.uniform()) / kWaves;
      waves.push_back(
          {std::tan(kPi / 2 * share) / (2 * kPi * kMemory), random.uniform(0, 2 * kPi)});
    }
  }
}

double Air::tiltOf(const Waves& waves, double begins, double ends) const {
  const double middle = (begins + ends) / 2;
  double sum = 0;
  for (const Wave& wave : waves) {
    sum += attenuation(wave.frequency, ends - begins) *
           std::cos(2 * kPi * wave.frequency * middle + wave.phase);
  }
  return tiltSigma_ * std::sqrt(2.0 / kWaves) * sum;
}

Offset Air::tilt(double begins, double ends) const {
  return {tiltOf(waves_[0], begins, ends), tiltOf(waves_[1], begins, ends)};
}

double Air::sigma(double seconds) const {
  double kept = 0;  // share of the tilt's variance that the exposure does not average away
  for (const Waves& waves : waves_) {
    for (const Wave& wave : waves) kept += std::pow(attenuation(wave.frequency, seconds), 2);
  }
  const double averaged = tiltSigma_ * tiltSigma_ * (1 - kept / (2.0 * kWaves));
  return std::sqrt(shortSigma_ * shortSigma_ + averaged);
}

}  // namespace orvik::sim
