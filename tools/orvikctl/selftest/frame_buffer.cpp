// SPDX-License-Identifier: MIT
#include "tools/orvikctl/selftest/frame_buffer.h"

#include <algorithm>
#include <numeric>

#include "imaging/image_types.h"
#include "tools/orvikctl/selftest/expect.h"

namespace orvik::ctl::selftest {
namespace {

constexpr std::uint8_t kPattern = 0xA5;
constexpr std::size_t kGuardBytes = 64;

bool isPattern(std::uint8_t byte) { return byte == kPattern; }

std::size_t rowBytes(const ImageFormat& format) { return imageBytes(format.width, 1, format.type); }

}  // namespace

FrameBuffer::FrameBuffer(const ImageFormat& format)
    : format_(format),
      size_(rowBytes(format) * static_cast<std::size_t>(format.height)),
      bytes_(size_ + kGuardBytes, kPattern) {}

void FrameBuffer::clear() { std::fill(bytes_.begin(), bytes_.end(), kPattern); }

void FrameBuffer::expectWritten() const {
  const auto step = static_cast<std::ptrdiff_t>(rowBytes(format_));
  for (int row = 0; row < format_.height; ++row) {
    const auto begin = bytes_.begin() + row * step;
    expectThat(!std::all_of(begin, begin + step, isPattern), "a frame that fills its buffer",
               "one that left row " + std::to_string(row) + " of " +
                   std::to_string(format_.height) + " as it was");
  }
  const auto end = bytes_.begin() + static_cast<std::ptrdiff_t>(size_);
  expectThat(std::all_of(end, bytes_.end(), isPattern), "nothing written behind the frame",
             "bytes behind its end");
}

void FrameBuffer::expectUntouched(const std::string& when) const {
  expectThat(std::all_of(bytes_.begin(), bytes_.end(), isPattern), "an untouched buffer " + when,
             "a changed one");
}

double FrameBuffer::mean() const {
  if (size_ == 0) return 0;
  if (imaging::imageType(format_.type).bitsPerSample == 8) {
    const auto end = bytes_.begin() + static_cast<std::ptrdiff_t>(size_);
    return std::accumulate(bytes_.begin(), end, 0.0) / static_cast<double>(size_);
  }
  double sum = 0;
  for (std::size_t i = 0; i + 1 < size_; i += 2) sum += bytes_[i] + 256.0 * bytes_[i + 1];
  return sum / (static_cast<double>(size_) / 2);
}

}  // namespace orvik::ctl::selftest
