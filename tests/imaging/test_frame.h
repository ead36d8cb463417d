// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <random>
#include <vector>

#include "imaging/view/image_source.h"

namespace orvik::imaging::test {

/// An image with memory of its own. Samples are set as numbers, whatever their size.
class TestImage {
 public:
  TestImage(Size size, IMG_TYPE type, std::optional<BayerPattern> mosaic = std::nullopt,
            bool wideColour = false)
      : size_(size),
        type_(type),
        mosaic_(mosaic),
        wideColour_(wideColour),
        memory_(imageBytes(size.width, size.height, type) * (wideColour ? 2 : 1)) {}

  [[nodiscard]] ImageSource source() const { return {memory_, size_, type_, mosaic_, wideColour_}; }
  [[nodiscard]] Size size() const { return size_; }
  [[nodiscard]] int depth() const { return source().depth(); }
  [[nodiscard]] int channels() const { return type_ == Orvik_IMG_RGB24 ? 3 : 1; }

  void set(int x, int y, double value, int channel = 0) {
    const int sample = static_cast<int>(std::clamp(value + 0.5, 0.0, double(depth())));
    const std::size_t at = index(x, y, channel);
    const bool wide = source().isWide();
    if (wide) memory_[2 * at + 1] = static_cast<std::uint8_t>(sample >> 8);
    memory_[wide ? 2 * at : at] = static_cast<std::uint8_t>(sample & 0xFF);
  }
  [[nodiscard]] int at(int x, int y, int channel = 0) const {
    const std::size_t i = index(x, y, channel);
    return source().isWide() ? memory_[2 * i] | memory_[2 * i + 1] << 8 : memory_[i];
  }
  /// Sets each pixel, and each of its channels, to what a function of them returns.
  template <typename Function>
  void fill(Function function) {
    for (int y = 0; y < size_.height; ++y) {
      for (int x = 0; x < size_.width; ++x) {
        for (int channel = 0; channel < channels(); ++channel) set(x, y, function(x, y), channel);
      }
    }
  }
  void fillRandomly(unsigned seed) {
    std::mt19937 random(seed);
    std::uniform_int_distribution<int> values(0, depth());
    fill([&](int, int) { return values(random); });
  }

 private:
  [[nodiscard]] std::size_t index(int x, int y, int channel) const {
    return (static_cast<std::size_t>(y) * static_cast<std::size_t>(size_.width) +
            static_cast<std::size_t>(x)) *
               static_cast<std::size_t>(channels()) +
           static_cast<std::size_t>(channel);
  }

  Size size_;
  IMG_TYPE type_;
  std::optional<BayerPattern> mosaic_;
  bool wideColour_;
  std::vector<std::uint8_t> memory_;
};

}  // namespace orvik::imaging::test
