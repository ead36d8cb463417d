// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "imaging/view/value_counts.h"

namespace orvik::imaging {

/// How sample values become brightness on the screen. `black` and `white` are parts of the depth.
struct Stretch {
  enum class Mode {
    kLinear,
    kAuto,  ///< follows the picture
    kAsinh,
  };
  Mode mode = Mode::kAuto;
  double black = 0;
  double white = 1;
  double strength = 50;  ///< of kAsinh, 1 to 1000: how much faint things are lifted
  double midtone = 0.5;  ///< of kAuto: the value between black (0) and white (1) shown half bright
  friend bool operator==(const Stretch&, const Stretch&) = default;
};

/// The brightness, 0 to 1, of a value, which is a part of the depth.
double brightness(const Stretch& stretch, double value);

/// A stretch as a table from values to bytes.
class StretchTable {
 public:
  StretchTable() { set(Stretch{Stretch::Mode::kLinear}); }
  void set(const Stretch& stretch);

  /// For values of 16 bits.
  [[nodiscard]] const std::uint8_t* wide() const { return wide_.data(); }
  /// For values of 8 bits.
  [[nodiscard]] const std::uint8_t* narrow() const { return narrow_.data(); }

 private:
  std::optional<Stretch> stretch_;
  std::vector<std::uint8_t> wide_;
  std::vector<std::uint8_t> narrow_;
};

/// The stretch that suits a picture: the background is dark grey with its noise above black, unless
/// more than stars would become white, as the Moon would.
Stretch autoStretch(const ValueCounts& counts);

/// Follows the picture without flickering.
class AutoStretch {
 public:
  /// The stretch for a picture that comes so long after the last one.
  Stretch next(const ValueCounts& counts, double seconds);
  /// The next picture has nothing to do with the last one.
  void restart() { now_.reset(); }

 private:
  std::optional<Stretch> now_;
  int depth_ = 0;
};

}  // namespace orvik::imaging
