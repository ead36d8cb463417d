// SPDX-License-Identifier: MIT
#include "controls/image_regulator.h"

#include <algorithm>

#include "algorithm/brightness.h"
#include "algorithm/exposure_law.h"

namespace orvik {
namespace {

/// The exposure and gain of a camera. Setting them keeps the automatic flag. At a limit the same
/// value is set again and again, so a value is sent to the camera only when it changes.
class CameraDials final : public ExposureDials {
 public:
  CameraDials(const ModelRow& model, const CameraState& state, RegulatedSettings& settings)
      : model_(model), state_(state), settings_(settings) {}

  [[nodiscard]] int gain() const override { return state_.gain; }
  [[nodiscard]] std::uint64_t exposureUs() const override { return state_.exposureUs; }
  [[nodiscard]] std::uint32_t exposureLines() const override { return state_.exposureLines; }
  void setGain(int gain) override {
    const int next = std::clamp(gain, model_.gain.min, model_.gain.max);
    if (next != state_.gain) settings_.setGain(next, state_.gainAuto);
  }
  void setExposure(std::uint64_t exposureUs) override {
    const ControlRange& limits = model_.exposureUs;
    const auto next = std::clamp(exposureUs, static_cast<std::uint64_t>(limits.min),
                                 static_cast<std::uint64_t>(limits.max));
    if (next != state_.exposureUs) settings_.setExposure(next, state_.exposureAuto);
  }

 private:
  const ModelRow& model_;
  const CameraState& state_;
  RegulatedSettings& settings_;
};

WhiteBalance balanceOf(const CameraState& state) {
  return {.red = state.whiteBalanceRed, .blue = state.whiteBalanceBlue};
}

}  // namespace

RawFrame ImageRegulator::rawFrame(const std::uint8_t* frame, const FrameFormat& format) const {
  return {.samples = frame,
          .columns = format.columns(),
          .rows = format.rows(),
          .is16Bits = format.is16Bits,
          .highByteFirst = model_.highByteFirst};
}

FrameMeasurement ImageRegulator::measure(std::span<const std::uint8_t> frame,
                                         const FrameFormat& format, const FrameSettings& settings,
                                         Wanted wanted) {
  FrameMeasurement measured{.brightness = std::nullopt,
                            .colour = std::nullopt,
                            .exposureUs = settings.exposureUs,
                            .gain = settings.gain,
                            .balance = settings.balance};
  const RawFrame raw = rawFrame(frame.data(), format);
  if (wanted.brightness) measured.brightness = measureBrightness(raw, format.hostBin());
  if (wanted.colour && model_.colour && !raw.is16Bits) {
    measured.colour = settings_.measureColour(raw, format.hostBin());
  }
  return measured;
}

void ImageRegulator::follow(const FrameMeasurement& measured) {
  const bool sameExposure =
      measured.exposureUs == state_.exposureUs && measured.gain == state_.gain;
  if (measured.brightness && sameExposure) followBrightness(*measured.brightness);
  const bool sameBalance = measured.balance == balanceOf(state_);
  if (measured.colour && sameBalance && state_.whiteBalanceAuto) followColour(*measured.colour);
}

void ImageRegulator::followBrightness(int brightness) {
  const ExposureGoal goal{.brightness = state_.autoTargetBrightness,
                          .maxGain = state_.autoMaxGain,
                          .maxExposureSeconds = state_.autoMaxExposure,
                          .gainRange = model_.gain.max - model_.gain.min,
                          .exposureAuto = state_.exposureAuto,
                          .gainAuto = state_.gainAuto};
  CameraDials dials(model_, state_, settings_);
  regulateExposure(brightness, goal, dials);
}

void ImageRegulator::followColour(const ColourValues& colour) {
  const bool brightnessChanges = state_.exposureAuto || state_.gainAuto;
  const auto next = nextBalance(colour, balanceOf(state_), brightnessChanges);
  if (!next) return;
  const WhiteBalance kept{
      .red = std::clamp(next->red, model_.whiteBalanceMin, model_.whiteBalanceMax),
      .blue = std::clamp(next->blue, model_.whiteBalanceMin, model_.whiteBalanceMax)};
  if (kept == balanceOf(state_)) return;
  settings_.setWhiteBalance(kept.red, kept.blue, state_.whiteBalanceAuto);
}

}  // namespace orvik
