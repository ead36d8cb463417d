// SPDX-License-Identifier: MIT
#include "imaging/stars/star_plane.h"

#include <algorithm>
#include <array>

namespace orvik::imaging {
namespace {

constexpr int kMostPixels = 4'000'000;
// A sample of 16 bits has a step of 16 or more, because converters have at most 12 bits.
constexpr float kStep16 = 16;
constexpr float kStep8 = 257;

template <typename Row>
void addSamples(Row row, int perPixel, int step, std::vector<std::uint32_t>& sums) {
  const int samples = step * perPixel;
  for (std::size_t x = 0; x < sums.size(); ++x, row += samples) {
    for (int i = 0; i < samples; ++i) sums[x] += row[i];
  }
}

}  // namespace

void StarPlane::make(const ImageSource& image) {
  const int smallest = luminanceStep(image);
  step_ = smallest;
  const auto sizeWith = [&](int step) {
    return Size{image.size.width / step, image.size.height / step};
  };
  while (sizeWith(step_).width * sizeWith(step_).height > kMostPixels) step_ += smallest;
  size_ = sizeWith(step_);
  pixels_.resize(static_cast<std::size_t>(size_.width) * static_cast<std::size_t>(size_.height));
  sums_.resize(static_cast<std::size_t>(size_.width));
  for (int y = 0; y < size_.height; ++y) addRow(image, y);
  // Noise of less than half a step is not seen in a sample, and less in a mean.
  smallestNoise_ = 0.5F * (image.isWide() ? kStep16 : kStep8) / static_cast<float>(step_);
  measureBackground();
  measured_ = blocks_;
  if (measured_.empty()) return;
  const auto dark = measured_.begin() + static_cast<std::ptrdiff_t>(measured_.size() / 10);
  std::nth_element(measured_.begin(), dark, measured_.end(),
                   [](const Background& a, const Background& b) { return a.level < b.level; });
  sky_ = static_cast<double>(dark->level) * image.depth() / 65535;
}

void StarPlane::addRow(const ImageSource& image, int y) {
  const int perPixel = image.samplesPerPixel();
  std::fill(sums_.begin(), sums_.end(), 0);
  for (int row = y * step_; row < (y + 1) * step_; ++row) {
    if (image.isWide()) {
      addSamples(image.row16(row), perPixel, step_, sums_);
    } else {
      addSamples(image.row8(row), perPixel, step_, sums_);
    }
  }
  // All planes have 16 bits, so that means of 8 bits keep their fractions.
  const float scale = 65535.0F / static_cast<float>(image.depth() * step_ * step_ * perPixel);
  std::uint16_t* const to =
      pixels_.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(size_.width);
  for (std::size_t x = 0; x < sums_.size(); ++x) {
    to[x] = static_cast<std::uint16_t>(static_cast<float>(sums_[x]) * scale);
  }
}

StarPlane::Background StarPlane::measureBlock(int left, int top) {
  const int right = std::min(left + kBlock, size_.width);
  const int bottom = std::min(top + kBlock, size_.height);
  sample_.clear();
  for (int y = top; y < bottom; ++y) {
    const std::uint16_t* const pixels = row(y);
    for (int x = left + y % 2; x < right; x += 2) sample_.push_back(pixels[x]);
  }
  if (sample_.empty()) return {};
  const auto quantile = [this](double part) {
    const auto nth = sample_.begin() +
                     static_cast<std::ptrdiff_t>(part * static_cast<double>(sample_.size() - 1));
    std::nth_element(sample_.begin(), nth, sample_.end());
    return static_cast<float>(*nth);
  };
  const float median = quantile(0.5);
  return {median, std::max(median - quantile(0.16), smallestNoise_)};
}

void StarPlane::measureBackground() {
  columns_ = (size_.width + kBlock - 1) / kBlock;
  const int rows = (size_.height + kBlock - 1) / kBlock;
  measured_.clear();
  for (int y = 0; y < rows; ++y) {
    for (int x = 0; x < columns_; ++x) measured_.push_back(measureBlock(x * kBlock, y * kBlock));
  }
  // A block that a star fills has the background of its neighbours.
  blocks_.resize(measured_.size());
  const auto at = [this](int x, int y) -> const Background& {
    return measured_[static_cast<std::size_t>(y) * static_cast<std::size_t>(columns_) +
                     static_cast<std::size_t>(x)];
  };
  for (int y = 0; y < rows; ++y) {
    for (int x = 0; x < columns_; ++x) {
      std::array<Background, 9> near;
      std::size_t count = 0;
      for (int ny = std::max(0, y - 1); ny <= std::min(rows - 1, y + 1); ++ny) {
        for (int nx = std::max(0, x - 1); nx <= std::min(columns_ - 1, x + 1); ++nx) {
          near[count++] = at(nx, ny);
        }
      }
      auto* const middle = near.begin() + static_cast<std::ptrdiff_t>(count / 2);
      auto* const end = near.begin() + static_cast<std::ptrdiff_t>(count);
      const auto byLevel = [](const Background& a, const Background& b) {
        return a.level < b.level;
      };
      const auto byNoise = [](const Background& a, const Background& b) {
        return a.noise < b.noise;
      };
      Background& smooth =
          blocks_[static_cast<std::size_t>(y) * static_cast<std::size_t>(columns_) +
                  static_cast<std::size_t>(x)];
      std::nth_element(near.begin(), middle, end, byLevel);
      smooth.level = middle->level;
      std::nth_element(near.begin(), middle, end, byNoise);
      smooth.noise = middle->noise;
    }
  }
}

float luminance(const ImageSource& image, int x, int y) {
  const auto of = [&](auto row) {
    if (image.mosaic) {
      const auto* const one = row(2 * y) + std::ptrdiff_t{2} * x;
      const auto* const other = row(2 * y + 1) + std::ptrdiff_t{2} * x;
      return 0.25F * static_cast<float>(one[0] + one[1] + other[0] + other[1]);
    }
    if (image.samplesPerPixel() == 1) return static_cast<float>(row(y)[x]);
    const auto* const pixel = row(y) + std::ptrdiff_t{3} * x;
    return static_cast<float>(pixel[0] + pixel[1] + pixel[2]) / 3.0F;
  };
  if (image.isWide()) return of([&](int at) { return image.row16(at); });
  return of([&](int at) { return image.row8(at); });
}

}  // namespace orvik::imaging
