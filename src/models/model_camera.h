// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstdint>

#include "camera/camera.h"
#include "models/bandwidth_law.h"
#include "models/readout_geometry.h"

namespace orvik {

/// What the drivers of all models share: a camera's life, the limits of its settings, and the order
/// in which they reach the sensor. A family of models says in which registers.
///
/// A control that the model does not offer is refused, and nothing is sent.
/// @tparam Base Camera, or the cooled camera that derives from it
template <class Base>
class ModelCamera : public Base {
 public:
  using Base::isOpen;
  using Base::link;
  using Base::lockSettings;
  using Base::model;
  using Base::state;

  bool initialise() override;
  bool setResolution(int width, int height, int bin, IMAGE_TYPE type) override;
  bool setStartPosition(int x, int y) override;
  bool setGain(int gain, bool automatic) override;
  bool setBrightness(int value) override;
  bool setHighSpeedMode(bool on) override;
  bool setHardwareBin(bool on) override;
  bool setBandwidth(int percent, bool automatic) override;
  void setWhiteBalance(int red, int blue, bool automatic) override;
  bool setExposure(std::uint64_t exposureUs, bool automatic) override;
  float readTemperature() override;
  bool startCapture(bool snapshot) override;

  // What the published class interface names besides
  /// Tells the camera the region's size and who bins.
  virtual void writeRegionSize() = 0;
  /// Selects the clock of the current mode.
  virtual void selectClock() = 0;
  /// Selects a clock by its frequency. @return false when not open, or there is no such clock.
  virtual bool selectClock(int khz) = 0;
  virtual void setSampleDepth(bool on) = 0;
  /// Works out frame rate and data rate, for exposures below 100 ms.
  void updateFrameRate();

 protected:
  ModelCamera(const ModelRow& row, std::shared_ptr<const FrameProtocol> protocol);

  [[nodiscard]] bool offers(Orvik_CONTROL_TYPE type) const { return model().controls.has(type); }
  /// Whether the sensor itself bins the present region.
  [[nodiscard]] bool binsOnSensor() const { return state().hardwareBin && state().bin == 2; }

  // What a family does in its own way. Called with the settings locked and the state up to date.
  /// Brings the sensor of an open camera from nothing to standby.
  virtual void startSensor() = 0;
  virtual void writeStartPosition() = 0;
  virtual void writeGain() = 0;
  virtual bool writeBrightness() = 0;
  /// Colour models only.
  virtual void writeWhiteBalance() = 0;
  virtual void writeLineLength() = 0;
  /// Works out the exposure's lines, tells the sensor, and notes who times the exposure.
  virtual bool writeExposure() = 0;
  [[nodiscard]] virtual LineLimits lineLimits() const = 0;

  /// What a change of the clock entails.
  void followClock();

 private:
  bool applyBandwidth(int percent, bool automatic);
  void noteVersions();
  void reapplyControls();

  std::atomic<bool> regionTold_{false};  ///< whether the sensor knows what to read
};

}  // namespace orvik
