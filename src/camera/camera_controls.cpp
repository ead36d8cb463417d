// SPDX-License-Identifier: MIT
// Sets and reads the controls of a camera by their public numbers. Their names and ranges are in
// controls/control_table.cpp.
#include "camera/camera.h"
#include "controls/control_table.h"

namespace orvik {
namespace {

Orvik_ERROR_CODE resultOf(bool done) { return done ? Orvik_OK : Orvik_ERROR_DRIVER_FAILED; }

}  // namespace

Orvik_ERROR_CODE Camera::setControl(int type, std::int32_t value, bool automatic) {
  if (!isControlType(type)) return Orvik_ERROR_CONTROL;
  CameraState& now = *state_;
  switch (static_cast<Orvik_CONTROL_TYPE>(type)) {
    case Orvik_CTL_GAIN:
      return resultOf(setGain(value, automatic));
    case Orvik_CTL_EXPOSURE:
      // A negative value becomes a huge one, which the model limits to its longest exposure.
      return resultOf(
          setExposure(static_cast<std::uint64_t>(static_cast<std::int64_t>(value)), automatic));
    case Orvik_CTL_GAMMA:
      setGamma(value);
      return Orvik_OK;
    case Orvik_CTL_WB_R:
      setWhiteBalance(value, now.whiteBalanceBlue, automatic);
      return Orvik_OK;
    case Orvik_CTL_WB_B:
      setWhiteBalance(now.whiteBalanceRed, value, automatic);
      return Orvik_OK;
    case Orvik_CTL_BRIGHTNESS:
      return resultOf(setBrightness(value));
    case Orvik_CTL_BANDWIDTH:
      return resultOf(setBandwidth(value, automatic));
    case Orvik_CTL_OVERCLK:
      return resultOf(setOverclock(value));
    case Orvik_CTL_FLIP:
      if (value >= 0 && value <= 3) setFlip((value & 1) != 0, (value & 2) != 0);
      return Orvik_OK;
    case Orvik_CTL_AUTO_EXP_MAX_GAIN:
      now.autoMaxGain = value;
      return Orvik_OK;
    case Orvik_CTL_AUTO_EXP_MAX_EXP:
      now.autoMaxExposure = value;
      return Orvik_OK;
    case Orvik_CTL_AUTO_EXP_MAX_BRIGHTNESS:
      now.autoTargetBrightness = value;
      return Orvik_OK;
    case Orvik_CTL_HARDWARE_BIN:
      return resultOf(setHardwareBin(value > 0));
    case Orvik_CTL_HIGH_SPEED_MODE:
      return resultOf(setHighSpeedMode(value > 0));
    case Orvik_CTL_TARGET_TEMP:
      return resultOf(setTargetTemperature(value));
    case Orvik_CTL_COOLER_ON:
      return resultOf(switchCooler(value >= 1));
    case Orvik_CTL_TEMPERATURE:
    case Orvik_CTL_COOL_POWER_PERC:
      return Orvik_OK;  // read only
  }
  return Orvik_ERROR_CONTROL;
}

std::optional<Camera::ControlValue> Camera::readControl(int type) {
  if (!isControlType(type)) return std::nullopt;
  const CameraState& now = *state_;
  switch (static_cast<Orvik_CONTROL_TYPE>(type)) {
    case Orvik_CTL_GAIN:
      return {{now.gain, now.gainAuto}};
    case Orvik_CTL_EXPOSURE:
      return {{static_cast<std::int32_t>(now.exposureUs), now.exposureAuto}};
    case Orvik_CTL_GAMMA:
      return {{now.gamma}};
    case Orvik_CTL_WB_R:
      return {{now.whiteBalanceRed, now.whiteBalanceAuto}};
    case Orvik_CTL_WB_B:
      return {{now.whiteBalanceBlue, now.whiteBalanceAuto}};
    case Orvik_CTL_BRIGHTNESS:
      return {{now.brightness}};
    case Orvik_CTL_BANDWIDTH:
      return {{now.bandwidth, now.bandwidthAuto}};
    case Orvik_CTL_OVERCLK:
      return {{now.overClock}};
    case Orvik_CTL_TEMPERATURE: {
      const auto tenths = static_cast<std::int32_t>(temperature() * 10.0);
      // If the sensor cannot be read, or is gone, there is no temperature; a model without
      // thermometer reports 0.
      const bool isKnown = !model_.controls.has(Orvik_CTL_TEMPERATURE) ||
                           (now.temperatureIsRecent(clock_->now()) && !link_->isGone());
      return isKnown ? std::optional<ControlValue>{{tenths}} : std::nullopt;
    }
    case Orvik_CTL_FLIP:
      return {{(now.flipHorizontal ? 1 : 0) + (now.flipVertical ? 2 : 0)}};
    case Orvik_CTL_AUTO_EXP_MAX_GAIN:
      return {{now.autoMaxGain}};
    case Orvik_CTL_AUTO_EXP_MAX_EXP:
      return {{now.autoMaxExposure}};
    case Orvik_CTL_AUTO_EXP_MAX_BRIGHTNESS:
      return {{now.autoTargetBrightness}};
    case Orvik_CTL_HARDWARE_BIN:
      return {{now.hardwareBin ? 1 : 0}};
    case Orvik_CTL_HIGH_SPEED_MODE:
      return {{now.highSpeedMode ? 1 : 0}};
    case Orvik_CTL_COOL_POWER_PERC:
      return ofCooler(static_cast<std::int32_t>(now.coolerPower));
    case Orvik_CTL_TARGET_TEMP:
      return ofCooler(now.targetTemperature);
    case Orvik_CTL_COOLER_ON:
      return ofCooler(now.coolerOn ? 1 : 0);
  }
  return std::nullopt;
}

std::optional<Camera::ControlValue> Camera::ofCooler(std::int32_t value) const {
  return model_.cooled ? std::optional<ControlValue>{{value}} : std::nullopt;
}

}  // namespace orvik
