// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <span>

namespace orvik::descriptors {

using Bytes = std::span<const std::uint8_t>;

inline std::uint16_t readU16(Bytes bytes, std::size_t at) {
  return static_cast<std::uint16_t>(bytes[at] | bytes[at + 1] << 8);
}

inline std::uint32_t readU32(Bytes bytes, std::size_t at) {
  return readU16(bytes, at) | static_cast<std::uint32_t>(readU16(bytes, at + 2)) << 16;
}

/// Walks through a sequence of descriptors by their length bytes. Every returned descriptor has at
/// least the two bytes for length and type and lies within the sequence, so each step advances.
class DescriptorWalk {
 public:
  explicit DescriptorWalk(Bytes bytes) : rest_(bytes) {}

  [[nodiscard]] bool atEnd() const { return rest_.empty(); }

  /// The next descriptor; nothing when its length is invalid, or at the end.
  std::optional<Bytes> take() {
    if (rest_.size() < 2 || rest_[0] < 2 || rest_[0] > rest_.size()) return std::nullopt;
    const Bytes next = rest_.first(rest_[0]);
    rest_ = rest_.subspan(next.size());
    return next;
  }

  /// The next descriptor if it has this type and at least this length.
  std::optional<Bytes> take(std::uint8_t type, std::size_t atLeast) {
    const auto next = take();
    if (!next || (*next)[1] != type || next->size() < atLeast) return std::nullopt;
    return next;
  }

 private:
  Bytes rest_;
};

}  // namespace orvik::descriptors
