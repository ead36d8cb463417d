// SPDX-License-Identifier: MIT
#include "imaging/byte_sink.h"

namespace orvik::imaging {

void GatheringSink::write(std::span<const std::uint8_t> bytes) {
  constexpr std::size_t kLarge = std::size_t{128} << 10;  // bytes, worth a call of their own
  if (gathered_.size() + bytes.size() > kLarge) flush();
  if (bytes.size() > kLarge) {
    write_(bytes);
  } else {
    gathered_.insert(gathered_.end(), bytes.begin(), bytes.end());
  }
}

void GatheringSink::flush() {
  if (!gathered_.empty()) write_(gathered_);
  gathered_.clear();
}

}  // namespace orvik::imaging
