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

/// The settings that automatic control changes, and the colour that it goes by. A camera implements
/// it; the calls come with its settings locked.
class RegulatedSettings {
 public:
  RegulatedSettings() = default;
  RegulatedSettings(const RegulatedSettings&) = delete;
  RegulatedSettings& operator=(const RegulatedSettings&) = delete;
  virtual ~RegulatedSettings() = default;

  /// Out of range values are limited. @return whether the camera was told.
  virtual bool setGain(int gain, bool automatic) = 0;
  /// @param exposureUs microseconds; limited as well
  virtual bool setExposure(std::uint64_t exposureUs, bool automatic) = 0;
  /// @param red, blue 50 is neutral; limited as well
  virtual void setWhiteBalance(int red, int blue, bool automatic) = 0;
  /// @param percent share of the USB bandwidth; limited as well
  virtual bool setBandwidth(int percent, bool automatic) = 0;
  /// The mean colour of an 8-bit raw frame as an image of it will show it.
  virtual std::optional<ColourValues> measureColour(const RawFrame& frame, int hostBin) = 0;
};

/// Measures frames, and takes the steps of automatic exposure, gain and white balance that follow.
/// Everything with the settings locked.
class ImageRegulator {
 public:
  /// @param model, state, settings of the camera; must outlive the regulator
  ImageRegulator(const ModelRow& model, const CameraState& state, RegulatedSettings& settings)
      : model_(model), state_(state), settings_(settings) {}

  [[nodiscard]] const CameraState& state() const { return state_; }
  [[nodiscard]] RegulatedSettings& settings() { return settings_; }

  /// A frame as the kernels take it. @param frame of the format's size
  [[nodiscard]] RawFrame rawFrame(const std::uint8_t* frame, const FrameFormat& format) const;

  /// What a good frame shows, as far as it is wanted.
  /// @param frame as it came from the camera; @param format, settings that it was taken with
  FrameMeasurement measure(std::span<const std::uint8_t> frame, const FrameFormat& format,
                           const FrameSettings& settings, Wanted wanted);
  /// Takes the steps that are still on automatic, unless what was measured has been changed since.
  void follow(const FrameMeasurement& measured);

  /// Changes what is on automatic of exposure and gain; see regulateExposure().
  /// @param brightness as measureBrightness() gives it
  void followBrightness(int brightness);
  /// Takes a step of white balance from a colour that was measured with the present one; see
  /// nextBalance().
  void followColour(const ColourValues& colour);

 private:
  const ModelRow& model_;
  const CameraState& state_;
  RegulatedSettings& settings_;
};

}  // namespace orvik
