// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace orvik {

/// The target of automatic exposure and the limits of what it may set.
struct ExposureGoal {
  int brightness = 100;        ///< as measureBrightness() gives it
  int maxGain = 0;             ///< gain steps
  int maxExposureSeconds = 0;  ///< seconds
  int gainRange = 0;           ///< the model's highest gain less its lowest
  bool exposureAuto = false;   ///< the exposure time may be changed
  bool gainAuto = false;       ///< the gain may be changed
};

/// The settings of a camera that automatic exposure reads and changes. A camera clamps them to its
/// own limits, and may change the number of lines with the exposure.
class ExposureDials {
 public:
  ExposureDials() = default;
  ExposureDials(const ExposureDials&) = delete;
  ExposureDials& operator=(const ExposureDials&) = delete;
  virtual ~ExposureDials() = default;

  [[nodiscard]] virtual int gain() const = 0;
  [[nodiscard]] virtual std::uint64_t exposureUs() const = 0;     ///< microseconds
  [[nodiscard]] virtual std::uint32_t exposureLines() const = 0;  ///< sensor lines
  virtual void setGain(int gain) = 0;
  virtual void setExposure(std::uint64_t exposureUs) = 0;
};

/// Makes one step towards the goal. Does nothing within 15 percent of it, or when neither exposure
/// nor gain is automatic. It keeps no state other than the dials.
///
/// The steps are unequal on purpose. For each unit of the error, the exposure of a dark image grows
/// by 1/200, that of a bright one shrinks by 1/400: far above the goal pixels are saturated, and
/// the error says little about the right exposure. If both are automatic, a dark image raises the
/// gain before the exposure, which keeps the frame rate, and a bright one shortens the exposure
/// before it lowers the gain.
///
/// @param brightness of a frame taken with the present settings of the dials
void regulateExposure(int brightness, const ExposureGoal& goal, ExposureDials& dials);

}  // namespace orvik
