// SPDX-License-Identifier: MIT
#include "imaging/view/stretch.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace orvik::imaging {
namespace {

constexpr double kBackground = 0.2;  // brightness of the background
// More than stars have, less than the Moon.
constexpr double kBrightPart = 0.005;   // of the pixels
constexpr double kBrightest = 0.85;     // brightness of these on the mean
constexpr double kNoiseToBlack = 2.8;   // standard deviations from the background down to black
constexpr double kBelowWhite = 0.9999;  // part of the pixels
constexpr double kSmallestMidtone = 1e-4;
constexpr double kSettleSeconds = 0.4;
constexpr double kUnseen = 0.012;  // change of brightness

/// The curve through (0, 0), (midtone, 0.5) and (1, 1).
double midtoneCurve(double midtone, double t) {
  return (midtone - 1) * t / ((2 * midtone - 1) * t - midtone);
}

/// The midtone whose curve leads `from` to `to`: the curve is its own inverse in this sense.
double midtoneFor(double from, double to) { return midtoneCurve(to, from); }

/// A coarse histogram between black and white.
class Brightnesses {
 public:
  Brightnesses(const ValueCounts& counts, double black, double white) {
    const double scale = kBins / ((white - black) * counts.depth());
    for (int channel = 0; channel < counts.channels(); ++channel) {
      const auto values = counts.of(channel);
      for (std::size_t value = 0; value < values.size(); ++value) {
        if (values[value] == 0) continue;
        const double bin = (static_cast<double>(value) - black * counts.depth()) * scale;
        bins_[static_cast<std::size_t>(std::clamp(bin, 0.0, kBins - 1.0))] += values[value];
        all_ += values[value];
      }
    }
  }
  /// The mean brightness of the brightest ones with a midtone.
  [[nodiscard]] double ofBrightest(double midtone) const {
    const double wanted = kBrightPart * all_;
    double taken = 0;
    double sum = 0;
    for (std::size_t bin = kBins; bin-- > 0 && taken < wanted;) {
      const double here = std::min(bins_[bin], wanted - taken);
      sum += here * midtoneCurve(midtone, (static_cast<double>(bin) + 0.5) / kBins);
      taken += here;
    }
    return taken > 0 ? sum / taken : 0;
  }

 private:
  static constexpr int kBins = 1024;
  std::array<double, kBins> bins_{};
  double all_ = 0;
};

/// Whether nobody would see the difference.
bool looksAlike(const Stretch& one, const Stretch& other) {
  const double span = other.white - other.black;
  return std::ranges::all_of(
      std::array{0.0005, 0.002, 0.01, 0.05, 0.2, 0.5, 0.8, 1.0}, [&](double t) {
        const double value = other.black + t * span;
        return std::abs(brightness(one, value) - brightness(other, value)) < kUnseen;
      });
}

}  // namespace

double brightness(const Stretch& stretch, double value) {
  const double span = std::max(stretch.white - stretch.black, 1e-9);
  const double t = std::clamp((value - stretch.black) / span, 0.0, 1.0);
  switch (stretch.mode) {
    case Stretch::Mode::kLinear:
      break;
    case Stretch::Mode::kAuto:
      return midtoneCurve(stretch.midtone, t);
    case Stretch::Mode::kAsinh:
      return std::asinh(stretch.strength * t) / std::asinh(stretch.strength);
  }
  return t;
}

void StretchTable::set(const Stretch& stretch) {
  if (stretch_ == stretch) return;
  stretch_ = stretch;
  const auto fill = [&](std::vector<std::uint8_t>& table, std::size_t size) {
    table.resize(size);
    for (std::size_t i = 0; i < size; ++i) {
      const double value = static_cast<double>(i) / static_cast<double>(size - 1);
      table[i] = static_cast<std::uint8_t>(std::lround(255 * brightness(stretch, value)));
    }
  };
  fill(wide_, 65536);
  fill(narrow_, 256);
}

Stretch autoStretch(const ValueCounts& counts) {
  const double depth = counts.depth();
  double black = 1;
  double background = 0;
  double white = 0;
  for (int channel = 0; channel < counts.channels(); ++channel) {
    const auto values = counts.of(channel);
    const double median = quantile(values, 0.5);
    // Stars and nebulae lie above the background: its noise shows below the median.
    const double noise = median - quantile(values, 0.16);
    black = std::min(black, (median - kNoiseToBlack * noise) / depth);
    background += median / depth / counts.channels();
    white = std::max(white, (quantile(values, kBelowWhite) + 0.5) / depth);
  }
  Stretch stretch;
  stretch.black = std::clamp(black, 0.0, 0.98);
  // A picture of nothing but noise is not spread over all brightnesses.
  const double smallestSpan = std::max(4 * (background - stretch.black), 8 / 255.0);
  stretch.white = std::clamp(white, std::min(1.0, stretch.black + smallestSpan), 1.0);

  const double span = stretch.white - stretch.black;
  const double from = std::clamp((background - stretch.black) / span, 1e-6, 1.0);
  const auto limited = [](double midtone) { return std::clamp(midtone, kSmallestMidtone, 0.5); };
  double midtone = limited(midtoneFor(from, kBackground));
  const Brightnesses picture(counts, stretch.black, stretch.white);
  if (picture.ofBrightest(midtone) > kBrightest) {
    double low = midtone;
    double high = 0.5;
    for (int step = 0; step < 16; ++step) {
      midtone = (low + high) / 2;
      (picture.ofBrightest(midtone) > kBrightest ? low : high) = midtone;
    }
  }
  stretch.midtone = midtone;
  return stretch;
}

Stretch AutoStretch::next(const ValueCounts& counts, double seconds) {
  const Stretch wanted = autoStretch(counts);
  if (!now_ || depth_ != counts.depth()) {
    depth_ = counts.depth();
    now_ = wanted;
    return wanted;
  }
  if (looksAlike(*now_, wanted)) return *now_;
  const double part = 1 - std::exp(-seconds / kSettleSeconds);
  const auto approach = [part](double& now, double to) { now += part * (to - now); };
  approach(now_->black, wanted.black);
  approach(now_->white, wanted.white);
  now_->midtone *= std::pow(wanted.midtone / now_->midtone, part);
  return *now_;
}

}  // namespace orvik::imaging
