// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>

#include "seam/clock.h"
#include "sim/random.h"

namespace orvik::sim {

/// A sensor on a thermo-electric cooler: the current source that an 8-bit converter drives, the
/// cold finger, and the thermistor on it with its 8-bit converter.
///
/// The cooler pumps heat in proportion to its current and produces heat in proportion to its
/// square, so that more current cools less and less. At full current the finger settles 35 degrees
/// below ambient, with a time constant of one minute, so that it never moves faster than 35 degrees
/// in 60 seconds.
class Cooler {
 public:
  /// @param ambient degrees Celsius; the finger starts at it
  /// @param noiseSeed of the converter's noise; 0 for no noise
  Cooler(double ambient, std::uint64_t noiseSeed, seam::Clock::Duration now);

  /// Sets the current source. @param value 255 for no current; lower values give more current
  void setDrive(std::uint8_t value, seam::Clock::Duration now);

  /// Degrees Celsius of sensor and finger.
  [[nodiscard]] double celsius(seam::Clock::Duration now) const;

  /// The thermistor's converter: byte 1 holds the upper half of its value, the upper half of byte 0
  /// the lower.
  std::array<std::uint8_t, 2> convert(seam::Clock::Duration now);

 private:
  double ambient_;
  double depth_ = 0;         ///< degrees below ambient when settled
  double depthAtSince_ = 0;  ///< the same at `since_`
  seam::Clock::Duration since_;
  bool noisy_;
  Random noise_;
};

}  // namespace orvik::sim
