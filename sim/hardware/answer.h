// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

namespace orvik::sim {

/// Puts as much of an answer into `room` as fits. @return bytes put there.
inline std::size_t give(std::span<const std::uint8_t> answer, std::span<std::uint8_t> room) {
  const std::size_t count = std::min(answer.size(), room.size());
  std::ranges::copy(answer.first(count), room.begin());
  return count;
}

inline std::size_t giveByte(std::uint8_t byte, std::span<std::uint8_t> room) {
  return give({&byte, 1}, room);
}

}  // namespace orvik::sim
