// SPDX-License-Identifier: MIT
#include "delivery/dark_recording.h"

#include <algorithm>
#include <utility>

namespace orvik {
namespace {

/// With a compile-time count the division becomes a vectorized multiplication.
template <int kFrames>
void divide(const std::uint16_t* sums, std::span<std::uint8_t> mean) {
  for (std::size_t i = 0; i < mean.size(); ++i) {
    mean[i] = static_cast<std::uint8_t>(sums[i] / kFrames);
  }
}

}  // namespace

int darkFrameCount(std::uint64_t exposureUs) {
  const std::uint64_t milliseconds = exposureUs / 1000;
  if (milliseconds < 101) return 5;
  if (milliseconds < 326) return 4;
  if (milliseconds < 551) return 3;
  return milliseconds < 776 ? 2 : 1;
}

DarkRecording::DarkRecording(std::size_t pixels, int frames)
    : wanted_(std::clamp(frames, 1, 5)), sums_(std::make_unique<PageBuffer>(pixels * 2)) {}

void DarkRecording::add(std::span<const std::uint8_t> frame) {
  if (isComplete() || frame.size() * 2 != sums_->size()) return;
  std::uint16_t* const sums = sums_->words();
  for (std::size_t i = 0; i < frame.size(); ++i) {
    sums[i] = static_cast<std::uint16_t>(sums[i] + frame[i]);
  }
  ++taken_;
}

void DarkRecording::finish(std::span<std::uint8_t> mean) {
  const auto sums = std::move(sums_);
  if (!sums || mean.size() * 2 != sums->size()) return;
  switch (wanted_) {
    case 1:
      return divide<1>(sums->words(), mean);
    case 2:
      return divide<2>(sums->words(), mean);
    case 3:
      return divide<3>(sums->words(), mean);
    case 4:
      return divide<4>(sums->words(), mean);
    default:
      return divide<5>(sums->words(), mean);
  }
}

}  // namespace orvik
