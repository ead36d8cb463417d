// SPDX-License-Identifier: MIT
#include "imaging/stars/brightest_object.h"

#include <algorithm>

namespace orvik::imaging {
namespace {

constexpr int kMostCells = 20'000;
constexpr std::uint32_t kSigmas = 6;  // what stands out
constexpr std::uint32_t kPartOfPeak = 3;

}  // namespace

std::optional<BrightestObject::Place> BrightestObject::find(const ImageSource& image) {
  makeCells(image);
  if (!measureBackground()) return std::nullopt;
  const auto lowest = level_ + kSigmas * noise_;
  putOutHotPixels(image, lowest);
  std::uint32_t peak = 0;
  for (const std::uint32_t cell : cells_) peak = std::max(peak, cell);
  if (peak <= lowest) return std::nullopt;
  const std::uint32_t threshold = std::max(lowest, level_ + (peak - level_) / kPartOfPeak);
  std::fill(isSeen_.begin(), isSeen_.end(), std::uint8_t{0});
  std::optional<Part> best;
  for (std::size_t start = 0; start < cells_.size(); ++start) {
    if (cells_[start] <= threshold || isSeen_[start] != 0) continue;
    const Part part = partAt(static_cast<int>(start), threshold);
    if (!best || part.flux > best->flux) best = part;
  }
  return Place{(best->x / best->flux + 0.5) * step_, (best->y / best->flux + 0.5) * step_,
               best->flux};
}

void BrightestObject::makeCells(const ImageSource& image) {
  step_ = 2;  // that of a mosaic at least
  const auto sizeNow = [&] { return Size{image.size.width / step_, image.size.height / step_}; };
  while (sizeNow().width * sizeNow().height > kMostCells) step_ += 2;
  size_ = sizeNow();
  const int channels = image.type == Orvik_IMG_RGB24 ? 3 : 1;
  cells_.clear();
  columns_.resize(static_cast<std::size_t>(size_.width * step_ * channels));
  for (int y = 0; y < size_.height; ++y) {
    std::fill(columns_.begin(), columns_.end(), 0);
    for (int row = y * step_; row < (y + 1) * step_; ++row) {
      if (image.isWide()) {
        addRow(image.row16(row));
      } else {
        addRow(image.row8(row));
      }
    }
    const int perCell = step_ * channels;
    for (auto column = columns_.begin(); column != columns_.end(); column += perCell) {
      std::uint32_t sum = 0;
      for (int i = 0; i < perCell; ++i) sum += column[i];
      cells_.push_back(sum);
    }
  }
  isSeen_.resize(cells_.size());
  // Noise of less than half a step is not seen in a sample. A sample of 16 bits has a step of 16 or
  // more, because converters have at most 12 bits.
  smallestNoise_ = static_cast<std::uint32_t>(step_ * (image.isWide() ? 16 : 1));
}

template <typename Sample>
void BrightestObject::addRow(const Sample* samples) {
  for (std::size_t i = 0; i < columns_.size(); ++i) columns_[i] += samples[i];
}

/// Level and noise of the darkest quarter, so that a planet may fill most of the image.
bool BrightestObject::measureBackground() {
  constexpr std::size_t kMostSamples = 1000;
  const std::size_t step = std::max<std::size_t>(1, cells_.size() / kMostSamples);
  sample_.clear();
  for (std::size_t i = 0; i < cells_.size(); i += step) sample_.push_back(cells_[i]);
  if (sample_.empty()) return false;
  const auto quantile = [this](std::size_t percent) {
    const auto nth =
        sample_.begin() + static_cast<std::ptrdiff_t>(percent * (sample_.size() - 1) / 100);
    std::nth_element(sample_.begin(), nth, sample_.end());
    return *nth;
  };
  level_ = quantile(25);
  noise_ = std::max(level_ - quantile(5), smallestNoise_);
  return true;
}

BrightestObject::Part BrightestObject::partAt(int start, std::uint32_t threshold) {
  Part part;
  border_.assign(1, start);
  isSeen_[static_cast<std::size_t>(start)] = 1;
  while (!border_.empty()) {
    const int at = border_.back();
    border_.pop_back();
    const std::uint32_t value = cells_[static_cast<std::size_t>(at)];
    const int x = at % size_.width;
    const int y = at / size_.width;
    const double flux = value - level_;
    part.flux += flux;
    part.x += flux * x;
    part.y += flux * y;
    const auto visit = [&](bool isInside, int next) {
      if (!isInside || isSeen_[static_cast<std::size_t>(next)] != 0) return;
      if (cells_[static_cast<std::size_t>(next)] <= threshold) return;
      isSeen_[static_cast<std::size_t>(next)] = 1;
      border_.push_back(next);
    };
    visit(x > 0, at - 1);
    visit(x + 1 < size_.width, at + 1);
    visit(y > 0, at - size_.width);
    visit(y + 1 < size_.height, at + size_.width);
  }
  return part;
}

/// A hot pixel lies in a single cell, beside another hot one at most. So may a sharp star, but its
/// light falls on several pixels.
void BrightestObject::putOutHotPixels(const ImageSource& image, std::uint32_t lowest) {
  const auto width = static_cast<std::size_t>(size_.width);
  for (std::size_t at = 0; at < cells_.size(); ++at) {
    const std::uint32_t value = cells_[at];
    if (value <= lowest) continue;
    const std::uint32_t little = std::max(lowest, level_ + (value - level_) / 8);
    const std::size_t x = at % width;
    const int neighbours = int{x > 0 && cells_[at - 1] > little} +
                           int{x + 1 < width && cells_[at + 1] > little} +
                           int{at >= width && cells_[at - width] > little} +
                           int{at + width < cells_.size() && cells_[at + width] > little};
    if (neighbours < 2 && hasOneBrightPixel(image, at)) cells_[at] = level_;
  }
}

bool BrightestObject::hasOneBrightPixel(const ImageSource& image, std::size_t cell) const {
  constexpr int kMostBright = 2;  // beside it one that a star would hardly leave so dark
  const auto width = static_cast<std::size_t>(size_.width);
  const int left = static_cast<int>(cell % width) * step_;
  const int top = static_cast<int>(cell / width) * step_;
  const int channels = image.type == Orvik_IMG_RGB24 ? 3 : 1;
  const int background = static_cast<int>(level_) / (step_ * step_ * channels);
  // With a border of one pixel: a star may lie in a corner.
  const auto forEachPixel = [&](auto use) {
    for (int y = std::max(0, top - 1); y < std::min(top + step_ + 1, image.size.height); ++y) {
      for (int x = std::max(0, left - 1); x < std::min(left + step_ + 1, image.size.width); ++x) {
        use((image.isWide() ? int{image.row16(y)[x]} : int{image.row8(y)[x * channels]}) -
            background);
      }
    }
  };
  int highest = 0;
  forEachPixel([&](int value) { highest = std::max(highest, value); });
  int bright = 0;
  forEachPixel([&](int value) { bright += value > highest / 8 ? 1 : 0; });
  return bright <= kMostBright;
}

}  // namespace orvik::imaging
