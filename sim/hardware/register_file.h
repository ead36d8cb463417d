// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace orvik::sim {

/// Byte registers with a hold: while held, writes are kept back, and take effect together at the
/// release. Reads always give what was written.
template <std::size_t kCount>
class RegisterFile {
 public:
  [[nodiscard]] std::uint8_t written(std::size_t index) const { return written_.at(index); }
  [[nodiscard]] std::uint8_t active(std::size_t index) const { return active_.at(index); }

  /// `count` registers in effect from `index` on as one number, lowest byte first.
  [[nodiscard]] int activeValue(std::size_t index, std::size_t count) const {
    int value = 0;
    for (std::size_t n = count; n-- > 0;) value = value * 256 + active_.at(index + n);
    return value;
  }

  void write(std::size_t index, std::uint8_t value) {
    written_.at(index) = value;
    if (!held_) active_.at(index) = value;
  }
  /// Writes a register that is not subject to the hold.
  void writeThrough(std::size_t index, std::uint8_t value) {
    written_.at(index) = value;
    active_.at(index) = value;
  }

  void hold(bool on) {
    held_ = on;
    if (!on) active_ = written_;
  }

 private:
  std::array<std::uint8_t, kCount> written_{};
  std::array<std::uint8_t, kCount> active_{};
  bool held_ = false;
};

}  // namespace orvik::sim
