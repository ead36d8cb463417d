// SPDX-License-Identifier: MIT
#include "camera/control_table.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

namespace orvik {
namespace {

struct ControlText {
  std::string_view name;
  std::string_view description;
};

// In the order of the control types.
constexpr std::array<ControlText, kControlCount> kTexts = {{
    {"Gain", "Gain"},
    {"Exposure", "Exposure Time(us)"},
    {"Gamma", "Gamma"},
    {"WB_R", "White balance: Red"},
    {"WB_B", "White balance: Blue"},
    {"Brightness", "Brightness"},
    {"BandWidth", "USB bandwidth percentage"},
    {"OverCLK", "Set over clocking percentage"},
    {"Temperature", "Sensor temperature(degrees Celsius)"},
    {"Flip", "Flip: 0->None 1->Horiz 2->Vert 3->Both"},
    {"AutoExpMaxGain", "Auto exposure maximum gain value"},
    {"AutoExpMaxExp", "Auto exposure maximum exposure value(unit second)"},
    {"AutoExpMaxBrightness", "Auto exposure maximum brightness value"},
    {"HardwareBin", "Is hardware bin2:0->No 1->Yes"},
    {"HighSpeedMode", "Is high speed mode:0->No 1->Yes"},
    {"CoolPowerPerc", "Cooler power percent"},
    {"TargetTemp", "Target temperature(cool camera only)"},
    {"Cooler on", "turn on/off cooler(cool camera only)"},
}};

template <std::size_t N>
void copyText(char (&field)[N], std::string_view text) {
  std::memset(field, 0, N);
  std::memcpy(field, text.data(), std::min(text.size(), N - 1));
}

/// Longest exposure that automatic exposure may be allowed, in seconds.
std::int32_t autoExposureLimit(const ModelRow& model) {
  return std::min(model.exposureUs.max / 1000 / 1000, 60);
}

bool autoSupported(const ModelRow& model, Orvik_CONTROL_TYPE type) {
  switch (type) {
    case Orvik_CTL_GAIN:
    case Orvik_CTL_EXPOSURE:
    case Orvik_CTL_WB_R:
    case Orvik_CTL_WB_B:
      return true;
    case Orvik_CTL_BANDWIDTH:
      return model.bandwidthAutoSupported;
    default:
      return false;
  }
}

bool writable(Orvik_CONTROL_TYPE type) {
  return type != Orvik_CTL_TEMPERATURE && type != Orvik_CTL_COOL_POWER_PERC;
}

}  // namespace

ControlRange controlRange(const ModelRow& model, Orvik_CONTROL_TYPE type) {
  switch (type) {
    case Orvik_CTL_GAIN:
      return model.gain;
    case Orvik_CTL_EXPOSURE:
      return model.exposureUs;
    case Orvik_CTL_GAMMA:
      return model.gamma;
    case Orvik_CTL_WB_R:
      return {model.whiteBalanceRedDefault, model.whiteBalanceMax, model.whiteBalanceMin};
    case Orvik_CTL_WB_B:
      return {model.whiteBalanceBlueDefault, model.whiteBalanceMax, model.whiteBalanceMin};
    case Orvik_CTL_BRIGHTNESS:
      return model.brightness;
    case Orvik_CTL_BANDWIDTH:
      return {50, model.bandwidthMax, model.bandwidthMin};
    case Orvik_CTL_OVERCLK:
      return {0, 30, 0};
    case Orvik_CTL_TEMPERATURE:
      return {20, 1000, -500};
    case Orvik_CTL_FLIP:
      return {0, 3, 0};
    case Orvik_CTL_AUTO_EXP_MAX_GAIN:
      return {(model.gain.max + model.gain.min) / 2, model.gain.max, model.gain.min};
    case Orvik_CTL_AUTO_EXP_MAX_EXP:
      return {std::min(30, autoExposureLimit(model)), autoExposureLimit(model), 1};
    case Orvik_CTL_AUTO_EXP_MAX_BRIGHTNESS:
      return {100, 160, 50};
    case Orvik_CTL_COOL_POWER_PERC:
      return {0, 100, 0};
    case Orvik_CTL_TARGET_TEMP:
      return {0, 30, -35};
    case Orvik_CTL_HARDWARE_BIN:
    case Orvik_CTL_HIGH_SPEED_MODE:
    case Orvik_CTL_COOLER_ON:
      return {0, 1, 0};
  }
  return {};
}

bool describeControl(const ModelRow& model, Orvik_CONTROL_TYPE type, Orvik_CONTROL_CAPS& caps) {
  if (type < 0 || type >= kControlCount) return false;
  const ControlText& text = kTexts[static_cast<std::size_t>(type)];
  const ControlRange range = controlRange(model, type);
  copyText(caps.name, text.name);
  copyText(caps.description, text.description);
  caps.maxValue = range.max;
  caps.minValue = range.min;
  caps.defaultValue = range.defaultValue;
  caps.autoSupported = autoSupported(model, type) ? Orvik_TRUE : Orvik_FALSE;
  caps.writable = writable(type) ? Orvik_TRUE : Orvik_FALSE;
  caps.controlType = type;
  return true;
}

}  // namespace orvik
