// SPDX-License-Identifier: MIT
// Automatic exposure, gain and white balance of CCameraBase: measures frames, and takes the steps
// that follow with the model's own setters.
#include <algorithm>

#include "algorithm/brightness.h"
#include "algorithm/colour_balance.h"
#include "algorithm/exposure_law.h"
#include "camera/camera_base.h"

namespace orvik {
namespace {

/// A camera's own exposure and gain. Each is set with the automatic flag that it has. At a limit
/// the same value is wanted again and again: the camera is told of a change only.
class CameraDials final : public ExposureDials {
 public:
  explicit CameraDials(CCameraBase& camera) : camera_(camera), state_(camera.state()) {}

  [[nodiscard]] int gain() const override { return state_.gain; }
  [[nodiscard]] std::uint64_t exposureUs() const override { return state_.exposureUs; }
  [[nodiscard]] std::uint32_t exposureLines() const override { return state_.exposureLines; }
  void setGain(int gain) override {
    const ControlRange& limits = camera_.model().gain;
    const int next = std::clamp(gain, limits.min, limits.max);
    if (next != state_.gain) camera_.SetGain(next, state_.gainAuto);
  }
  void setExposure(std::uint64_t exposureUs) override {
    const ControlRange& limits = camera_.model().exposureUs;
    const auto next = std::clamp(exposureUs, static_cast<std::uint64_t>(limits.min),
                                 static_cast<std::uint64_t>(limits.max));
    if (next != state_.exposureUs) camera_.SetExp(next, state_.exposureAuto);
  }

 private:
  CCameraBase& camera_;
  const CameraState& state_;
};

WhiteBalance balanceOf(const CameraState& state) {
  return {.red = state.whiteBalanceRed, .blue = state.whiteBalanceBlue};
}

}  // namespace

void CCameraBase::SetAutoPara(int maxGain, int maxExposure, int targetBrightness) {
  state_->autoMaxGain = maxGain;
  state_->autoMaxExposure = maxExposure;
  state_->autoMaxBrightness = targetBrightness;
}

void CCameraBase::GetAutoPara(int* maxGain, int* maxExposure, int* targetBrightness) const {
  *maxGain = state_->autoMaxGain;
  *maxExposure = state_->autoMaxExposure;
  *targetBrightness = state_->autoMaxBrightness;
}

RawFrame CCameraBase::rawFrame(const std::uint8_t* frame, const FrameFormat& format) const {
  return {.samples = frame,
          .columns = format.columns(),
          .rows = format.rows(),
          .is16Bits = format.is16Bits,
          .highByteFirst = model_.highByteFirst};
}

void CCameraBase::AutoExpGain(const std::uint8_t* frame) {
  const auto lock = lockSettings();
  const FrameFormat format = state_->frameFormat();
  const auto brightness = measureBrightness(rawFrame(frame, format), format.hostBin());
  if (brightness) followBrightness(*brightness);
}

void CCameraBase::followBrightness(int brightness) {
  const ExposureGoal goal{.brightness = state_->autoMaxBrightness,
                          .maxGain = state_->autoMaxGain,
                          .maxExposureSeconds = state_->autoMaxExposure,
                          .gainRange = model_.gain.max - model_.gain.min,
                          .exposureAuto = state_->exposureAuto,
                          .gainAuto = state_->gainAuto};
  CameraDials dials(*this);
  regulateExposure(brightness, goal, dials);
}

std::optional<ColourValues> CCameraBase::measureColour(const RawFrame& frame, int hostBin) {
  return mosaicColour(frame, model_.bayer, hostBin);
}

void CCameraBase::AutoWB_RAW(const std::uint8_t* frame) {
  const auto lock = lockSettings();
  const FrameFormat format = state_->frameFormat();
  const auto colour = mosaicColour(rawFrame(frame, format), model_.bayer, format.hostBin());
  if (colour) followColour(*colour);
}

void CCameraBase::followColour(const ColourValues& colour) {
  const bool brightnessChanges = state_->exposureAuto || state_->gainAuto;
  const auto next = nextBalance(colour, balanceOf(*state_), brightnessChanges);
  if (!next) return;
  const WhiteBalance kept{
      .red = std::clamp(next->red, model_.whiteBalanceMin, model_.whiteBalanceMax),
      .blue = std::clamp(next->blue, model_.whiteBalanceMin, model_.whiteBalanceMax)};
  if (kept != balanceOf(*state_)) SetRGBBalance(kept.red, kept.blue, state_->whiteBalanceAuto);
}

void CCameraBase::Get_variance_ave_RAW(const std::uint8_t* frame, int blockColumn, int blockRow,
                                       int blockWidth, int blockHeight, int rowLength,
                                       int frameHeight, int* redDeviation, int* greenDeviation,
                                       int* blueDeviation, int* redMean, int* greenMean,
                                       int* blueMean) const {
  const RawFrame raw{.samples = frame, .columns = rowLength, .rows = frameHeight};
  const FrameBlock block{
      .column = blockColumn, .row = blockRow, .width = blockWidth, .height = blockHeight};
  storeBlock(mosaicBlock(raw, model_.bayer, block, state_->softwareBin()),
             {redDeviation, greenDeviation, blueDeviation}, {redMean, greenMean, blueMean});
}

FrameMeasurement CCameraBase::measure(std::span<const std::uint8_t> frame,
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
    measured.colour = measureColour(raw, format.hostBin());
  }
  return measured;
}

void CCameraBase::followMeasurement(const FrameMeasurement& measured) {
  const bool sameExposure =
      measured.exposureUs == state_->exposureUs && measured.gain == state_->gain;
  if (measured.brightness && sameExposure) followBrightness(*measured.brightness);
  const bool sameBalance = measured.balance == balanceOf(*state_);
  if (measured.colour && sameBalance && state_->whiteBalanceAuto) followColour(*measured.colour);
}

}  // namespace orvik
