// SPDX-License-Identifier: MIT
#include "imaging/stars/star_profile.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "imaging/stars/star_plane.h"
#include "imaging/view/frame_statistics.h"

namespace orvik::imaging {
namespace {

constexpr double kPi = 3.14159265358979;
constexpr double kRingWidth = 4;              // pixels around the star that tell its background
constexpr double kMargin = 4;                 // from what stands out to the ring
constexpr double kTimesRadius = 1.5;          // the light of a star reaches so far beyond that
constexpr double kSmallestPeak = 6;           // standard deviations
constexpr double kSmallestFlux = 10;          // standard deviations
constexpr double kLongest = 2.2;              // longest to shortest axis
constexpr double kSmallestNeighbours = 0.08;  // of the peak: the four next to it, on the mean
constexpr int kFine = 4;                      // parts of a pixel in each direction
constexpr double kRingsPerPixel = 8;
constexpr double kFitFrom = 0.25;  // of the height: what belongs to the core

/// The light of a pixel was counted as if it were spread over the pixel evenly. Without that, the
/// radius is smaller by as much as a square adds to the width of a Gaussian.
double unspread(double radius) {
  constexpr double kOfSquare = 1.1774 * 1.1774 / 12;
  constexpr double kSmallest = 0.3;
  return std::sqrt(std::max(radius * radius - kOfSquare, kSmallest * kSmallest));
}

}  // namespace

StarProfile::Background StarProfile::collect(const ImageSource& image, double x, double y,
                                             double radius) {
  pixels_.clear();
  ring_.clear();
  const int step = luminanceStep(image);
  const Size size{image.size.width / step, image.size.height / step};
  const double outer = radius + kRingWidth;
  const int left = std::max(0, static_cast<int>(std::ceil(x - outer)));
  const int right = std::min(size.width - 1, static_cast<int>(std::floor(x + outer)));
  const int top = std::max(0, static_cast<int>(std::ceil(y - outer)));
  const int bottom = std::min(size.height - 1, static_cast<int>(std::floor(y + outer)));
  for (int row = top; row <= bottom; ++row) {
    for (int column = left; column <= right; ++column) {
      const double distance = std::hypot(column - x, row - y);
      const float value = luminance(image, column, row);
      if (distance <= radius) {
        pixels_.push_back({column, row, value});
      } else if (distance <= outer) {
        ring_.push_back(value);
      }
    }
  }
  if (ring_.empty()) return {};
  const auto quantile = [this](double part) {
    const auto nth =
        ring_.begin() + static_cast<std::ptrdiff_t>(part * static_cast<double>(ring_.size() - 1));
    std::nth_element(ring_.begin(), nth, ring_.end());
    return static_cast<double>(*nth);
  };
  const double level = quantile(0.5);
  for (Pixel& pixel : pixels_) pixel.light -= level;
  const double smallest = (image.isWide() ? 8.0 : 0.5) / step;
  return {level, std::max({level - quantile(0.16), (quantile(0.84) - level) / 2, smallest})};
}

double StarProfile::halfFluxRadius(double x, double y, double radius) {
  rings_.assign(static_cast<std::size_t>(radius * kRingsPerPixel) + std::size_t{16}, 0);
  double all = 0;
  for (const Pixel& pixel : pixels_) {
    all += pixel.light;
    for (int part = 0; part < kFine * kFine; ++part) {
      const int column = part % kFine;
      const int row = part / kFine;
      const double px = pixel.x - x + (column + 0.5) / kFine - 0.5;
      const double py = pixel.y - y + (row + 0.5) / kFine - 0.5;
      const auto ring = static_cast<std::size_t>(std::hypot(px, py) * kRingsPerPixel);
      rings_[std::min(ring, rings_.size() - 1)] += pixel.light / (kFine * kFine);
    }
  }
  double inside = 0;
  for (std::size_t ring = 0; ring < rings_.size(); ++ring) {
    if (inside + rings_[ring] >= all / 2 && rings_[ring] > 0) {
      return (static_cast<double>(ring) + (all / 2 - inside) / rings_[ring]) / kRingsPerPixel;
    }
    inside += rings_[ring];
  }
  return radius;
}

double StarProfile::widthAtHalf(double x, double y, double height) const {
  // The logarithm of a Gaussian falls with the square of the distance: a line is fitted to it.
  double weights = 0;
  double sumR = 0;
  double sumRr = 0;
  double sumL = 0;
  double sumRl = 0;
  int above = 0;
  for (const Pixel& pixel : pixels_) {
    if (pixel.light > height / 2) ++above;
    if (pixel.light < kFitFrom * height) continue;
    const double r = (pixel.x - x) * (pixel.x - x) + (pixel.y - y) * (pixel.y - y);
    const double weight = pixel.light * pixel.light;
    const double logarithm = std::log(pixel.light);
    weights += weight;
    sumR += weight * r;
    sumRr += weight * r * r;
    sumL += weight * logarithm;
    sumRl += weight * r * logarithm;
  }
  const double byArea = 2 * std::sqrt(above / kPi);
  const double spread = weights * sumRr - sumR * sumR;
  if (spread <= 0) return byArea;
  const double slope = (weights * sumRl - sumR * sumL) / spread;
  if (slope >= 0) return byArea;
  const double fitted = 2 * std::sqrt(std::log(2.0) / -slope);
  // A disc, as of a defocused star, has no such shape.
  return fitted > 1.6 * byArea && above > 20 ? byArea : fitted;
}

std::optional<Star> StarProfile::measure(const ImageSource& image, double x, double y,
                                         double radius) {
  radius = kTimesRadius * radius + kMargin;
  const Background background = collect(image, x, y, radius);
  if (pixels_.empty() || ring_.size() < 12) return std::nullopt;
  const auto brightest = std::max_element(
      pixels_.begin(), pixels_.end(),
      [](const Pixel& one, const Pixel& other) { return one.light < other.light; });
  const Pixel peak = *brightest;
  if (peak.light < kSmallestPeak * background.noise) return std::nullopt;

  double flux = 0;
  double core = 0;
  double cx = 0;
  double cy = 0;
  double neighbours = 0;
  for (const Pixel& pixel : pixels_) {
    flux += pixel.light;
    if (std::abs(pixel.x - peak.x) + std::abs(pixel.y - peak.y) == 1) neighbours += pixel.light / 4;
    if (pixel.light < 2 * background.noise) continue;
    core += pixel.light;
    cx += pixel.light * pixel.x;
    cy += pixel.light * pixel.y;
  }
  const double fluxNoise = background.noise * std::sqrt(static_cast<double>(pixels_.size()));
  if (flux < kSmallestFlux * fluxNoise || neighbours < kSmallestNeighbours * peak.light) {
    return std::nullopt;
  }
  cx /= core;
  cy /= core;

  std::array<double, 3> moments{};
  for (const Pixel& pixel : pixels_) {
    if (pixel.light < 2 * background.noise) continue;
    moments[0] += pixel.light * (pixel.x - cx) * (pixel.x - cx) / core;
    moments[1] += pixel.light * (pixel.y - cy) * (pixel.y - cy) / core;
    moments[2] += pixel.light * (pixel.x - cx) * (pixel.y - cy) / core;
  }
  const double mean = (moments[0] + moments[1]) / 2;
  const double apart = std::hypot((moments[0] - moments[1]) / 2, moments[2]);
  if (mean + apart > kLongest * kLongest * std::max(mean - apart, 0.05)) return std::nullopt;

  const int step = luminanceStep(image);
  Star star;
  // The pixels of luminance() are centred in the middle of a cell.
  star.x = (cx + 0.5) * step - 0.5;
  star.y = (cy + 0.5) * step - 0.5;
  star.hfr = unspread(halfFluxRadius(cx, cy, radius)) * step;
  star.fwhm = widthAtHalf(cx, cy, peak.light) * step;
  star.flux = flux * step * step;
  star.background = background.level;
  const int saturated = saturatedFrom(image.depth());
  for (const Pixel& pixel : pixels_) {
    if (pixel.light < peak.light / 2) continue;
    for (int part = 0; part < step * step; ++part) {
      for (const int value :
           pixelAt(image, pixel.x * step + part % step, pixel.y * step + part / step)) {
        star.peak = std::max(star.peak, value);
      }
    }
  }
  star.saturated = star.peak >= saturated;
  return star;
}

}  // namespace orvik::imaging
