// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "algorithm/colour_balance.h"
#include "algorithm/raw_frame.h"
#include "controls/frame_measurement.h"
#include "state/camera_state.h"
#include "state/frame_format.h"
#include "state/model_row.h"

namespace orvik {

/// The settings that automatic control changes, and the measurement of the colour. Implemented by a
/// camera, and called with its settings locked.
class RegulatedSettings {
 public:
  RegulatedSettings() = default;
  RegulatedSettings(const RegulatedSettings&) = delete;
  RegulatedSettings& operator=(const RegulatedSettings&) = delete;
  virtual ~RegulatedSettings() = default;

  /// @param gain limited to its range
  /// @return whether the value reached the camera.
  virtual bool setGain(int gain, bool automatic) = 0;
  /// @param exposureUs microseconds; limited to its range
  virtual bool setExposure(std::uint64_t exposureUs, bool automatic) = 0;
  /// @param red, blue 50 is neutral; limited to their range
  virtual void setWhiteBalance(int red, int blue, bool automatic) = 0;
  /// @param percent share of the USB bandwidth; limited to its range
  virtual bool setBandwidth(int percent, bool automatic) = 0;
  /// The mean colour that an image made from this 8-bit raw frame will have.
  virtual std::optional<ColourValues> measureColour(const RawFrame& frame, int hostBin) = 0;
};

/// Measures frames, and makes the resulting steps of automatic exposure, gain and white balance.
/// Must be used with the settings locked.
class ImageRegulator {
 public:
  /// @param model, state, settings of the camera; must outlive the regulator
  ImageRegulator(const ModelRow& model, const CameraState& state, RegulatedSettings& settings)
      : model_(model), state_(state), settings_(settings) {}

  [[nodiscard]] const CameraState& state() const { return state_; }
  [[nodiscard]] RegulatedSettings& settings() { return settings_; }

  /// A frame in the form that the kernels expect. @param frame of the size of the format
  [[nodiscard]] RawFrame rawFrame(const std::uint8_t* frame, const FrameFormat& format) const;

  /// Measures a good frame.
  /// @param frame as it came from the camera
  /// @param format, settings that the frame was taken with
  /// @param wanted the measurements to make
  FrameMeasurement measure(std::span<const std::uint8_t> frame, const FrameFormat& format,
                           const FrameSettings& settings, Wanted wanted);
  /// Makes the steps of those controls that are still automatic, unless the settings of the
  /// measurement have been changed since.
  void follow(const FrameMeasurement& measured);

  /// Changes exposure and gain, if automatic; see regulateExposure().
  /// @param brightness as measureBrightness() gives it
  void followBrightness(int brightness);
  /// Makes a step of white balance; see nextBalance().
  /// @param colour measured with the present balance
  void followColour(const ColourValues& colour);

 private:
  const ModelRow& model_;
  const CameraState& state_;
  RegulatedSettings& settings_;
};

}  // namespace orvik
