// SPDX-License-Identifier: MIT
// The control layer of CCameraBase: lists, describes, sets and reads the controls.
#include "camera/camera_base.h"
#include "camera/control_table.h"

namespace orvik {
namespace {

Orvik_ERROR_CODE resultOf(bool done) { return done ? Orvik_OK : Orvik_ERROR_DRIVER_FAILED; }

}  // namespace

int CCameraBase::GetNumOfControls() const { return static_cast<int>(model_.controls.size()); }

bool CCameraBase::GetControlCaps(int index, Orvik_CONTROL_CAPS* caps) const {
  if (index < 0 || index >= GetNumOfControls()) return false;
  return describeControl(model_, model_.controls[static_cast<std::size_t>(index)], *caps);
}

bool CCameraBase::isAvailable(Control_TYPE type) const {
  switch (type) {
    case CONTROL_COOLER:
    case CONTROL_COOL_POWER:
    case CONTROL_TARGET_TEMP:
      return model_.cooled;
    default:
      // Up to the automatic limits the numbering is that of the controls.
      return type >= CONTROL_GAIN && type <= CONTROL_AUTO_LIMITS &&
             model_.controls.has(static_cast<Orvik_CONTROL_TYPE>(type));
  }
}

bool CCameraBase::isImgTypeSupported(int type) const {
  switch (type) {
    case Orvik_IMG_RAW8:
      return model_.imageTypes.raw8;
    case Orvik_IMG_RGB24:
      return model_.imageTypes.rgb24;
    case Orvik_IMG_RAW16:
      return model_.imageTypes.raw16;
    case Orvik_IMG_Y8:
      return model_.imageTypes.y8;
    default:
      return false;
  }
}

Orvik_ERROR_CODE CCameraBase::setFlip(std::int32_t value) {
  if (value >= 0 && value <= 3) SetMisc((value & 1) != 0, (value & 2) != 0);
  return Orvik_OK;
}

Orvik_ERROR_CODE CCameraBase::SetControlValue(int type, std::int32_t value, bool automatic) {
  CameraState& now = *state_;
  switch (type) {
    case Orvik_CTL_GAIN:
      return resultOf(SetGain(value, automatic));
    case Orvik_CTL_EXPOSURE:
      // A negative value becomes a huge one, which the model sets to its longest exposure.
      return resultOf(
          SetExp(static_cast<std::uint64_t>(static_cast<std::int64_t>(value)), automatic));
    case Orvik_CTL_GAMMA:
      return resultOf(SetGamma(value));
    case Orvik_CTL_WB_R:
      SetRGBBalance(value, now.whiteBalanceBlue, automatic);
      return Orvik_OK;
    case Orvik_CTL_WB_B:
      SetRGBBalance(now.whiteBalanceRed, value, automatic);
      return Orvik_OK;
    case Orvik_CTL_BRIGHTNESS:
      return resultOf(SetBrightness(value));
    case Orvik_CTL_BANDWIDTH:
      return resultOf(SetFPSPerc(value, automatic));
    case Orvik_CTL_OVERCLK:
      return resultOf(SetOverCLKPerc(value));
    case Orvik_CTL_FLIP:
      return setFlip(value);
    case Orvik_CTL_AUTO_EXP_MAX_GAIN:
      SetAutoPara(value, now.autoMaxExposure, now.autoMaxBrightness);
      return Orvik_OK;
    case Orvik_CTL_AUTO_EXP_MAX_EXP:
      SetAutoPara(now.autoMaxGain, value, now.autoMaxBrightness);
      return Orvik_OK;
    case Orvik_CTL_AUTO_EXP_MAX_BRIGHTNESS:
      SetAutoPara(now.autoMaxGain, now.autoMaxExposure, value);
      return Orvik_OK;
    case Orvik_CTL_HARDWARE_BIN:
      return resultOf(SetHardwareBin(value > 0));
    case Orvik_CTL_HIGH_SPEED_MODE:
      return resultOf(SetHighSpeedMode(value > 0));
    case Orvik_CTL_TEMPERATURE:
    case Orvik_CTL_COOL_POWER_PERC:
    case Orvik_CTL_TARGET_TEMP:
      return Orvik_OK;  // read only here
    default:
      return Orvik_ERROR_CONTROL;
  }
}

bool CCameraBase::GetControlValue(int type, std::int32_t* value, Orvik_BOOL* automatic) {
  const CameraState& now = *state_;
  *automatic = Orvik_FALSE;
  bool isAuto = false;
  std::int32_t result = 0;
  switch (type) {
    case Orvik_CTL_GAIN:
      result = GetGain(&isAuto);
      break;
    case Orvik_CTL_EXPOSURE:
      result = static_cast<std::int32_t>(GetExp(&isAuto));
      break;
    case Orvik_CTL_GAMMA:
      result = GetGamma();
      break;
    case Orvik_CTL_WB_R:
      result = now.whiteBalanceRed;
      isAuto = now.whiteBalanceAuto;
      break;
    case Orvik_CTL_WB_B:
      result = now.whiteBalanceBlue;
      isAuto = now.whiteBalanceAuto;
      break;
    case Orvik_CTL_BRIGHTNESS:
      result = now.brightness;
      break;
    case Orvik_CTL_BANDWIDTH:
      GetFPSPerc(&result, &isAuto);
      break;
    case Orvik_CTL_OVERCLK:
      result = now.overClock;
      break;
    case Orvik_CTL_TEMPERATURE:
      result = static_cast<std::int32_t>(GetTemp() * 10.0);
      // A sensor that cannot be asked has no temperature; a model without a thermometer tells 0.
      if (model_.controls.has(Orvik_CTL_TEMPERATURE) && !now.temperatureIsRecent(clock_->now())) {
        return false;
      }
      break;
    case Orvik_CTL_FLIP:
      result = (now.flipHorizontal ? 1 : 0) + (now.flipVertical ? 2 : 0);
      break;
    case Orvik_CTL_AUTO_EXP_MAX_GAIN:
      result = now.autoMaxGain;
      break;
    case Orvik_CTL_AUTO_EXP_MAX_EXP:
      result = now.autoMaxExposure;
      break;
    case Orvik_CTL_AUTO_EXP_MAX_BRIGHTNESS:
      result = now.autoMaxBrightness;
      break;
    case Orvik_CTL_HARDWARE_BIN:
      result = now.hardwareBin ? 1 : 0;
      break;
    case Orvik_CTL_HIGH_SPEED_MODE:
      result = now.highSpeedMode ? 1 : 0;
      break;
    case Orvik_CTL_COOL_POWER_PERC:
      if (!model_.cooled) return false;
      result = static_cast<std::int32_t>(now.coolerPower);
      break;
    case Orvik_CTL_TARGET_TEMP:
      if (!model_.cooled) return false;
      result = now.targetTemperature;
      break;
    case Orvik_CTL_COOLER_ON:
      if (!model_.cooled) return false;
      result = now.coolerOn ? 1 : 0;
      break;
    default:
      return false;
  }
  *value = result;
  *automatic = isAuto ? Orvik_TRUE : Orvik_FALSE;
  return true;
}

}  // namespace orvik
