// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

namespace orvik::test {

/// Image sizes that test edge cases: single pixels, rows and columns, every mix of even and odd,
/// and rows longer than any block a kernel may work in.
struct Size {
  int width;
  int height;
};
inline constexpr std::array kSizes = {
    Size{1, 1}, Size{1, 5}, Size{7, 1},   Size{2, 1},   Size{1, 2},   Size{2, 2},
    Size{3, 3}, Size{4, 2}, Size{2, 4},   Size{4, 4},   Size{6, 6},   Size{7, 5},
    Size{5, 8}, Size{8, 7}, Size{66, 10}, Size{255, 6}, Size{258, 4}, Size{517, 5}};

/// Pixels between two guards that detect writes outside the pixels. There are no guards with the
/// address sanitizer, which also detects reads outside the memory.
template <typename Sample>
class Frame {
 public:
  explicit Frame(size_t samples, Sample fill = 0)
      : all_(samples + 2 * kGuard, kGuardValue), size_(samples) {
    std::fill(all_.begin() + kGuard, all_.end() - kGuard, fill);
  }

  static Frame random(size_t samples, std::uint32_t seed,
                      std::uint32_t max = std::numeric_limits<Sample>::max()) {
    Frame frame(samples);
    std::mt19937 generator(seed);
    std::uniform_int_distribution<std::uint32_t> value(0, max);
    for (size_t i = 0; i < samples; ++i) frame[i] = static_cast<Sample>(value(generator));
    return frame;
  }

  [[nodiscard]] Sample* data() { return all_.data() + kGuard; }
  [[nodiscard]] const Sample* data() const { return all_.data() + kGuard; }
  [[nodiscard]] size_t size() const { return size_; }
  Sample& operator[](size_t i) { return all_[kGuard + i]; }
  const Sample& operator[](size_t i) const { return all_[kGuard + i]; }

  [[nodiscard]] std::vector<Sample> pixels() const { return {data(), data() + size_}; }
  [[nodiscard]] std::vector<Sample> first(size_t count) const { return {data(), data() + count}; }

  [[nodiscard]] bool guardsIntact() const {
    const auto untouched = [](Sample sample) { return sample == kGuardValue; };
    return std::all_of(all_.begin(), all_.begin() + kGuard, untouched) &&
           std::all_of(all_.end() - kGuard, all_.end(), untouched);
  }

 private:
#if defined(__SANITIZE_ADDRESS__)
  static constexpr ptrdiff_t kGuard = 0;
#else
  static constexpr ptrdiff_t kGuard = 64;
#endif
  static constexpr auto kGuardValue = static_cast<Sample>(0xA5C3);

  std::vector<Sample> all_;
  size_t size_;
};

inline size_t area(Size size) {
  return static_cast<size_t>(size.width) * static_cast<size_t>(size.height);
}

}  // namespace orvik::test
