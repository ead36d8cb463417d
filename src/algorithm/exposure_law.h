// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace orvik {

/// What automatic exposure is to reach, and how far it may go for it.
struct ExposureGoal {
  int brightness = 100;        ///< as measureBrightness() gives it
  int maxGain = 0;             ///< gain steps
  int maxExposureSeconds = 0;  ///< seconds
  int gainRange = 0;           ///< the model's highest gain less its lowest
  bool exposureAuto = false;   ///< the exposure time may be changed
  bool gainAuto = false;       ///< the gain may be changed
};

/// The dials of a camera that automatic exposure reads and turns. A camera keeps what it is set to
/// within its own limits, and may change the number of lines with the exposure.
class ExposureDials {
 public:
  ExposureDials() = default;
  ExposureDials(const ExposureDials&) = delete;
  ExposureDials& operator=(const ExposureDials&) = delete;
  virtual ~ExposureDials() = default;

  [[nodiscard]] virtual int gain() const = 0;
  [[nodiscard]] virtual uint64_t exposureUs() const = 0;     ///< microseconds
  [[nodiscard]] virtual uint32_t exposureLines() const = 0;  ///< sensor lines
  virtual void setGain(int gain) = 0;
  virtual void setExposure(uint64_t exposureUs) = 0;
};

/// One step towards the goal; nothing within 15 percent of it, and nothing when neither exposure
/// nor gain is on automatic. No state: what it has learnt is in the dials.
///
/// The steps are unequal on purpose. A dark picture's exposure grows by 1/200 for each step of the
/// error, a bright one's shrinks by 1/400: far above the goal pixels are full, and the error says
/// little about the time. With both on automatic a dark picture takes gain before time, which keeps
/// the frame rate, and a bright one gives time back before gain.
///
/// @param brightness of a frame taken with the dials as they stand
void regulateExposure(int brightness, const ExposureGoal& goal, ExposureDials& dials);

}  // namespace orvik
