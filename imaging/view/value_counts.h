// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "imaging/view/image_source.h"

namespace orvik::imaging {

/// How often each sample value occurs in an image. Everything else that is told about the
/// brightness of an image follows from it. Its memory is used again.
class ValueCounts {
 public:
  void count(const ImageSource& image);

  /// 1 for grey, 3 for red, green and blue.
  [[nodiscard]] int channels() const { return channels_; }
  /// The largest value that a sample can have.
  [[nodiscard]] int depth() const { return static_cast<int>(values_) - 1; }
  [[nodiscard]] std::span<const std::uint32_t> of(int channel) const {
    return std::span(counts_).subspan(static_cast<std::size_t>(channel) * values_, values_);
  }

 private:
  template <typename Sample>
  void countPlane(const ImageSource& image);
  template <typename Sample>
  void countColour(const ImageSource& image);

  int channels_ = 1;
  std::size_t values_ = 256;
  std::vector<std::uint32_t> counts_ = std::vector<std::uint32_t>(256);
  std::vector<std::uint32_t> tables_;
};

/// The value below which a part of all samples lies, with fractions of a value: samples count as
/// spread evenly between v - 0.5 and v + 0.5. 0 for no samples.
double quantile(std::span<const std::uint32_t> counts, double part);

}  // namespace orvik::imaging
