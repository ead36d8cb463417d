// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>

#include "seam/clock.h"

namespace orvik::sim {

/// The temperature of a sensor without cooler: its own power warms it a little above the
/// surroundings, more so while it reads out, and it follows with a time constant of minutes.
class Thermometer {
 public:
  /// @param ambient degrees Celsius; the sensor starts at it
  Thermometer(double ambient, seam::Clock::Duration now) : ambient_(ambient), since_(now) {}

  /// Tells whether the sensor works from now on.
  void setWorking(bool working, seam::Clock::Duration now);

  /// Degrees Celsius.
  [[nodiscard]] double celsius(seam::Clock::Duration now) const;

  /// The chip's answer, a 12-bit two's-complement number of 1/16 degree: byte 1 holds bits 11 to 4,
  /// the high half of byte 0 bits 3 to 0.
  [[nodiscard]] std::array<std::uint8_t, 2> word(seam::Clock::Duration now) const;

 private:
  double ambient_;
  double riseAtSince_ = 0;  ///< degrees above ambient at `since_`
  bool working_ = false;
  seam::Clock::Duration since_;
};

}  // namespace orvik::sim
