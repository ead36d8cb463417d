// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

#include "sim/fault/faults.h"

namespace orvik::fault {

/// Damages what a read has received.
/// @param data the whole buffer, of which `received` bytes have come
/// @param last what the read before had received; empty when there was none
/// @return how much counts as received afterwards.
inline std::size_t edited(const Strike& strike, std::span<std::uint8_t> data, std::size_t received,
                          std::span<const std::uint8_t> last) {
  const auto amount = static_cast<std::ptrdiff_t>(strike.amount);
  const auto size = static_cast<std::ptrdiff_t>(received);
  switch (strike.action) {
    case Action::kShort:
      return static_cast<std::size_t>(std::max(size - amount, std::ptrdiff_t{0}));
    case Action::kFlip: {
      const std::ptrdiff_t place = amount < 0 ? size + amount : amount;
      if (place < 0 || place >= size) return received;
      data[static_cast<std::size_t>(place)] ^= 0xFFU;
      return received;
    }
    case Action::kDuplicate: {
      if (last.empty()) return received;
      const std::size_t count = std::min(last.size(), data.size());
      std::copy_n(last.begin(), count, data.begin());
      return count;
    }
    case Action::kTear: {
      const std::size_t half = received / 2;
      if (last.size() < received) return received;
      std::copy(last.begin() + static_cast<std::ptrdiff_t>(half), last.begin() + size,
                data.begin() + static_cast<std::ptrdiff_t>(half));
      return received;
    }
    default:
      return received;
  }
}

}  // namespace orvik::fault
