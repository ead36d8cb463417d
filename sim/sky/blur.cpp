// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

#include "sim/sky/light_plane.h"

namespace orvik::sim {
namespace {

constexpr double kGaussianReach = 3.5;  // standard deviations

/// A rectangle of values.
struct Sheet {
  std::size_t width;
  std::size_t height;
  std::vector<float> values;

  Sheet(std::size_t columns, std::size_t rows)
      : width(columns), height(rows), values(columns * rows) {}
  [[nodiscard]] std::span<float> row(std::size_t y) {
    return std::span(values).subspan(y * width, width);
  }
  [[nodiscard]] std::span<const float> row(std::size_t y) const {
    return std::span(values).subspan(y * width, width);
  }
};

/// A row's running sum: entry n is the sum of the first n values.
std::vector<double> runningSum(std::span<const float> values, std::size_t margin) {
  std::vector<double> sums(values.size() + 2 * margin + 1);
  double sum = 0;
  for (std::size_t x = 0; x < values.size(); ++x) {
    sum += values[x];
    sums[margin + x + 1] = sum;
  }
  std::fill(sums.begin() + static_cast<std::ptrdiff_t>(margin + values.size() + 1), sums.end(),
            sum);
  return sums;
}

/// Half of the mean length of the chords of a disc, of unit area for each square pixel, between
/// `row` - 1/2 and `row` + 1/2.
double halfChord(double radius, int row) {
  const auto integral = [&](double y) {
    const double at = std::clamp(y, -radius, radius);
    return (at * std::sqrt(radius * radius - at * at) + radius * radius * std::asin(at / radius)) /
           2;
  };
  return integral(row + 0.5) - integral(row - 0.5);
}

/// Adds the mean light of the disc's chord in the row of `sums` to a row.
void addChord(std::span<const double> sums, std::size_t margin, double halfLength, double share,
              std::span<float> row) {
  // From pixel centre x the chord reaches to x + 1/2 + halfLength - 1/2 in running sums.
  const double place = halfLength + 0.5;
  const auto whole = static_cast<std::size_t>(place);
  const double part = place - static_cast<double>(whole);
  const double* const right = sums.data() + margin + whole;
  const double* const left = sums.data() + margin + 1 - whole;
  for (std::size_t x = 0; x < row.size(); ++x) {
    const double upper = right[x] + (right[x + 1] - right[x]) * part;
    const double lower = left[x] + (left[x - 1] - left[x]) * part;
    row[x] += static_cast<float>((upper - lower) * share);
  }
}

/// Blurs by a disc: sums over its chords, which running sums of the rows give.
void blurByDisc(Sheet& sheet, double radius) {
  const int reach = static_cast<int>(std::ceil(radius + 0.5));
  const auto margin = static_cast<std::size_t>(reach) + 2;
  const double share = 1 / (std::numbers::pi * radius * radius);
  Sheet result(sheet.width, sheet.height);
  for (std::size_t y = 0; y < sheet.height; ++y) {
    const std::vector<double> sums = runningSum(sheet.row(y), margin);
    for (int dy = -reach; dy <= reach; ++dy) {
      const auto to = static_cast<std::ptrdiff_t>(y) + dy;
      const double half = halfChord(radius, dy);
      if (half <= 0 || to < 0 || to >= static_cast<std::ptrdiff_t>(sheet.height)) continue;
      addChord(sums, margin, half, share, result.row(static_cast<std::size_t>(to)));
    }
  }
  sheet = std::move(result);
}

std::vector<float> gaussian(double sigma) {
  const auto reach = static_cast<int>(std::ceil(kGaussianReach * sigma));
  std::vector<float> weights;
  float sum = 0;
  for (int n = -reach; n <= reach; ++n) {
    weights.push_back(static_cast<float>(std::exp(-n * n / (2 * sigma * sigma))));
    sum += weights.back();
  }
  for (float& weight : weights) weight /= sum;
  return weights;
}

void blurByAir(Sheet& sheet, double sigma) {
  const std::vector<float> weights = gaussian(sigma);
  const std::size_t reach = weights.size() / 2;
  Sheet across(sheet.width, sheet.height);
  std::vector<float> padded(sheet.width + 2 * reach);
  for (std::size_t y = 0; y < sheet.height; ++y) {
    std::ranges::copy(sheet.row(y), padded.begin() + static_cast<std::ptrdiff_t>(reach));
    const std::span<float> to = across.row(y);
    for (std::size_t n = 0; n < weights.size(); ++n) {
      for (std::size_t x = 0; x < to.size(); ++x) to[x] += weights[n] * padded[x + n];
    }
  }
  std::ranges::fill(sheet.values, 0.0F);
  for (std::size_t y = 0; y < sheet.height; ++y) {
    const std::size_t first = y < reach ? reach - y : 0;
    for (std::size_t n = first; n < weights.size() && y + n < sheet.height + reach; ++n) {
      const std::span<const float> from = std::as_const(across).row(y + n - reach);
      const std::span<float> to = sheet.row(y);
      for (std::size_t x = 0; x < to.size(); ++x) to[x] += weights[n] * from[x];
    }
  }
}

}  // namespace

int blurReach(double airSigma, double discRadius) {
  return static_cast<int>(std::ceil(kGaussianReach * airSigma) + std::ceil(discRadius + 0.5));
}

LightPlane blurred(const LightPlane& source, const Area& area, Mosaic mosaic, double airSigma,
                   double discRadius) {
  LightPlane result(area, mosaic);
  const Area around = area.grown(blurReach(airSigma, discRadius));
  const Area lit = around.common(source.area());
  const auto width = static_cast<std::size_t>(lit.width);
  for (std::size_t plane = 0; plane < result.planes() && !lit.empty(); ++plane) {
    Sheet sheet(static_cast<std::size_t>(around.width), static_cast<std::size_t>(around.height));
    for (int y = lit.y; y < lit.bottom(); ++y) {
      std::ranges::copy(source.row(plane, lit.x, y).first(width),
                        sheet.row(static_cast<std::size_t>(y - around.y))
                            .subspan(static_cast<std::size_t>(lit.x - around.x))
                            .begin());
    }
    if (discRadius > 0) blurByDisc(sheet, discRadius);
    if (airSigma > 0) blurByAir(sheet, airSigma);
    for (int y = area.y; y < area.bottom(); ++y) {
      std::ranges::copy(sheet.row(static_cast<std::size_t>(y - around.y))
                            .subspan(static_cast<std::size_t>(area.x - around.x),
                                     static_cast<std::size_t>(area.width)),
                        result.row(plane, area.x, y).begin());
    }
  }
  return result;
}

}  // namespace orvik::sim
