// SPDX-License-Identifier: MIT
#pragma once

#include "models/end_mark_camera.h"

namespace orvik {

/// The end-mark models whose sensor has a 16-bit register for each setting. Some have a second
/// clock, 16-bit samples or overclocking; this follows from the controls and image types of the
/// model.
class RegisterCamera : public EndMarkCamera {
 public:
  void selectClock() override;
  bool selectClock(int khz) override;
  void setSampleDepth(bool on) override;
  /// @param percent 0 to 30 above the nominal frequency of the sensor
  bool setOverclock(int percent) override;

 protected:
  RegisterCamera(const ModelRow& row, const EndMarkFacts& facts);

  void startSensor() override;
  bool tellSensor(std::initializer_list<Setting> settings) override;
  void writeLineLength() override;

 private:
  void useClock(bool fast);
};

}  // namespace orvik
