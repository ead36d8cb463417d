// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace orvik::sim {

/// Registers with a hold: while held, writes are kept back, and take effect together at the
/// release. Reads always give what was written.
template <std::size_t kCount, typename Value = std::uint8_t>
class RegisterFile {
 public:
  [[nodiscard]] Value written(std::size_t index) const { return written_.at(index); }
  [[nodiscard]] Value active(std::size_t index) const { return active_.at(index); }

  /// `count` byte registers in effect from `index` on as one number, lowest byte first.
  [[nodiscard]] int activeValue(std::size_t index, std::size_t count) const {
    int value = 0;
    for (std::size_t n = count; n-- > 0;) value = value * 256 + active_.at(index + n);
    return value;
  }

  void write(std::size_t index, Value value) {
    written_.at(index) = value;
    if (!held_) active_.at(index) = value;
  }
  /// Writes a register that is not subject to the hold.
  void writeThrough(std::size_t index, Value value) {
    written_.at(index) = value;
    active_.at(index) = value;
  }

  void hold(bool on) {
    held_ = on;
    if (!on) active_ = written_;
  }

 private:
  std::array<Value, kCount> written_{};
  std::array<Value, kCount> active_{};
  bool held_ = false;
};

}  // namespace orvik::sim
