// SPDX-License-Identifier: MIT
#include "sim/sky/star_profile.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <numbers>

#include "sim/sky/cubic.h"

namespace orvik::sim {
namespace {

constexpr double kPower = 3;
constexpr float kSharpReach = 60;      // pixels
constexpr int kCoarseUnits = 4;        // entries in a pixel of a table while it is computed
constexpr double kLongestStep = 0.75;  // pixels between the points of a kernel

/// A function of the distance from a star's middle, in steps of 1 / kCoarseUnits pixels.
using Coarse = std::vector<double>;

/// A point of a kernel of circular symmetry, and its share of the kernel.
struct Point {
  double square = 0;      ///< of its distance from the kernel's middle
  double twiceAlong = 0;  ///< twice its distance along an axis
  double weight = 0;
};

/// Rings of points, half of each ring: the other half is its mirror image.
/// @param scale the length over which the density changes
std::vector<Point> kernelOf(double radius, double scale,
                            const std::function<double(double)>& density) {
  const auto rings = static_cast<int>(std::ceil(radius / std::min(kLongestStep, scale / 4)));
  const double step = radius / rings;
  std::vector<Point> kernel;
  double sum = 0;
  for (int n = 0; n < rings; ++n) {
    const double distance = (n + 0.5) * step;
    const int points = std::max(static_cast<int>(std::numbers::pi * distance / step), 6);
    const double weight = distance * density(distance);
    sum += weight;
    for (int k = 0; k < points; ++k) {
      const double along = distance * std::cos(std::numbers::pi * (k + 0.5) / points);
      kernel.push_back({distance * distance, 2 * along, weight / points});
    }
  }
  for (Point& point : kernel) point.weight /= sum;
  return kernel;
}

}  // namespace

float StarProfile::sharp(float square) {
  constexpr auto kPeak = static_cast<float>((kPower - 1) / (std::numbers::pi * kWidth * kWidth));
  const float base = 1 + square / (kWidth * kWidth);
  return kPeak / (base * base * base);
}

StarProfile::StarProfile(double sigma, double discRadius)
    : shares_(static_cast<std::size_t>(kSharpReach) * kUnits) {
  for (std::size_t n = 0; n < shares_.size(); ++n) {
    const float distance = static_cast<float>(n) / kUnits;
    shares_[n] = sharp(distance * distance);
  }
  if (discRadius > 0) spread(discRadius, discRadius, [](double) { return 1.0; });
  if (sigma > 0) {
    spread(4 * sigma, sigma, [=](double r) { return std::exp(-r * r / (2 * sigma * sigma)); });
  }
}

/// Spreads the light of each point over a kernel of circular symmetry.
void StarProfile::spread(double radius, double scale,
                         const std::function<double(double)>& density) {
  const std::vector<Point> kernel = kernelOf(radius, scale, density);
  const auto widened = shares_.size() / kUnits + static_cast<std::size_t>(std::ceil(radius));
  Coarse sums(widened * kCoarseUnits + 2);
  for (std::size_t n = 0; n < sums.size(); ++n) {
    const double distance = static_cast<double>(n) / kCoarseUnits;
    for (const Point& point : kernel) {
      const double square = distance * distance + point.square - distance * point.twiceAlong;
      sums[n] += point.weight * at(static_cast<float>(std::sqrt(std::max(square, 0.0))));
    }
  }
  shares_.resize(widened * kUnits);
  constexpr std::size_t kFiner = kUnits / kCoarseUnits;
  for (std::size_t n = 0; n < shares_.size(); ++n) {
    const std::size_t below = n / kFiner;
    const auto weights = cubicWeights(static_cast<double>(n % kFiner) / kFiner);
    const double before = sums[below == 0 ? 1 : below - 1];  // the mirror image beyond the middle
    const double sum = before * weights[0] + sums[below] * weights[1] +
                       sums[below + 1] * weights[2] + sums[below + 2] * weights[3];
    shares_[n] = static_cast<float>(std::max(sum, 0.0));
  }
}

float StarProfile::reach(float flux, float least) const {
  const float share = least / flux;
  const auto end = std::ranges::upper_bound(shares_, share, std::greater{});
  return static_cast<float>(end - shares_.begin()) / kUnits;
}

}  // namespace orvik::sim
