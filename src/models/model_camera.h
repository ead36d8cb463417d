// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstdint>

#include "camera/camera.h"
#include "models/bandwidth_law.h"
#include "models/readout_geometry.h"

namespace orvik {

/// The common part of the drivers of all models: the life cycle of a camera, the ranges of its
/// settings, and the order in which they are written to the sensor. The family of a model defines
/// the registers.
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
  bool resetSettings() override;
  void setWhiteBalance(int red, int blue, bool automatic) override;
  bool setExposure(std::uint64_t exposureUs, bool automatic) override;
  float readTemperature() override;
  bool startCapture(bool snapshot) override;

  // Functions that only the published class interface needs as public ones
  /// Writes the size of the region, and whether camera or host bins.
  virtual void writeRegionSize() = 0;
  /// Selects the clock of the current mode.
  virtual void selectClock() = 0;
  /// Selects a clock by its frequency. @return false when not open, or there is no such clock.
  virtual bool selectClock(int khz) = 0;
  virtual void setSampleDepth(bool on) = 0;
  /// Computes frame rate and data rate, for exposures below 100 ms.
  void updateFrameRate();

 protected:
  ModelCamera(const ModelRow& row, std::shared_ptr<const FrameProtocol> protocol);

  [[nodiscard]] bool offers(Orvik_CONTROL_TYPE type) const { return model().controls.has(type); }
  /// Whether the sensor itself bins the present region.
  [[nodiscard]] bool binsOnSensor() const { return state().hardwareBin && state().bin == 2; }

  // Implemented by a family. Called with the settings locked and the state up to date.
  /// Initialises the sensor of an open camera and leaves it in standby.
  virtual void startSensor() = 0;
  virtual void writeStartPosition() = 0;
  virtual void writeGain() = 0;
  virtual bool writeBrightness() = 0;
  /// Colour models only.
  virtual void writeWhiteBalance() = 0;
  virtual void writeLineLength() = 0;
  /// Computes the lines of the exposure, writes them, and records whether sensor or host times it.
  virtual bool writeExposure() = 0;
  [[nodiscard]] virtual LineLimits lineLimits() const = 0;

  /// Updates what depends on the clock.
  void followClock();

 private:
  bool applyBandwidth(int percent, bool automatic);
  void noteVersions();
  void reapplyControls();

  std::atomic<bool> regionTold_{false};  ///< whether a region has been written to the sensor
};

}  // namespace orvik
