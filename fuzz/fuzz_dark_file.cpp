// SPDX-License-Identifier: MIT Any bytes as the file of a dark frame: either it is rejected, or the
// pixels are those at the offset in the file.
#include <algorithm>
#include <cstdlib>
#include <vector>

#include "delivery/dark_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr int kWidth = 16;
  constexpr int kHeight = 8;
  const std::span file(data, size);
  std::size_t pixelOffset = 0;
  const auto readAt = [&](std::uint64_t offset, std::span<std::uint8_t> bytes) {
    if (offset >= file.size()) return std::size_t{0};
    pixelOffset = static_cast<std::size_t>(offset);
    const std::size_t count = std::min(bytes.size(), file.size() - pixelOffset);
    std::ranges::copy(file.subspan(pixelOffset, count), bytes.begin());
    return count;
  };
  std::vector<std::uint8_t> pixels(std::size_t{kWidth} * kHeight);
  if (orvik::readDarkFile(readAt, kWidth, kHeight, pixels) == orvik::DarkFileResult::kDone) {
    if (!std::ranges::equal(file.subspan(pixelOffset, pixels.size()), pixels)) std::abort();
  }
  return 0;
}
