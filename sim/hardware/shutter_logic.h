// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace orvik::sim {

/// The programmable logic of the older cameras, which does little: it drives the sensor's shutter
/// line in long exposures, and gathers the sensor's lines for the bridge.
///
/// | Register | Meaning |
/// |---|---|
/// | 11 | long exposure: 1 opens the shutter, 0 ends the exposure |
/// | 19, 20 | line length in clock cycles; 0 after power-up, which goes with none |
/// | 29 to 31 | version, read only |
///
/// It holds no other register: they are ignored and read as 0.
class ShutterLogic {
 public:
  /// Whether there is a register of this number.
  [[nodiscard]] static bool has(std::uint16_t number);
  void write(std::uint16_t number, std::uint8_t value);
  [[nodiscard]] std::uint8_t read(std::uint16_t number) const;

  [[nodiscard]] bool shutterOpen() const { return shutterOpen_; }
  /// Whether lines of this length can be gathered.
  [[nodiscard]] bool gathers(int lineCycles) const { return lineCycles_ == lineCycles; }

 private:
  bool shutterOpen_ = false;
  std::uint16_t lineCycles_ = 0;
};

}  // namespace orvik::sim
