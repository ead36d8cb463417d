// SPDX-License-Identifier: MIT
#include "algorithm/brightness.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <span>

namespace orvik {
namespace {

constexpr std::size_t kGridColumns = 64;
constexpr std::size_t kGridRows = 48;
constexpr int kBrightest = 255;

/// The points of the grid in the middle 60 percent of one axis.
template <std::size_t kPoints>
class MiddlePoints {
 public:
  explicit MiddlePoints(int size) {
    const float step = static_cast<float>(size) / static_cast<float>(kPoints);
    for (std::size_t i = 0; i < kPoints; ++i) {
      const long at = std::lround(static_cast<float>(i) * step);
      if (at > size / 5 && at < std::int64_t{4} * size / 5)
        points_[count_++] = static_cast<int>(at);
    }
  }
  [[nodiscard]] std::span<const int> get() const { return std::span(points_).first(count_); }

 private:
  std::array<int, kPoints> points_{};
  std::size_t count_ = 0;
};

/// The brightness of an 8-bit image after bin x bin samples have been added up.
int brightnessAfterBinning(int brightness, int bin) {
  const std::int64_t samples = std::min<std::int64_t>(std::int64_t{bin} * bin, kBrightest);
  return static_cast<int>(std::min<std::int64_t>(brightness * samples, kBrightest));
}

}  // namespace

std::optional<int> measureBrightness(const RawFrame& frame, int hostBin) {
  if (frame.columns < 1 || frame.rows < 1) return std::nullopt;
  const MiddlePoints<kGridColumns> columns(frame.columns);
  const MiddlePoints<kGridRows> rows(frame.rows);
  const std::size_t points = columns.get().size() * rows.get().size();
  if (points == 0) return std::nullopt;

  std::size_t sum = 0;
  for (const int y : rows.get()) {
    for (const int x : columns.get()) sum += frame.upperByte(x, y);
  }
  const int mean = static_cast<int>(sum / points) + 1;
  return brightnessAfterBinning(mean, frame.is16Bits ? 1 : hostBin);
}

}  // namespace orvik
