// SPDX-License-Identifier: MIT
#include "controls/control_table.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

namespace orvik {
namespace {

enum class Automatic : std::uint8_t { kNo, kYes, kAsModel };
enum class Access : std::uint8_t { kReadOnly, kWritable };

/// The upper limit, in seconds, of the longest exposure that automatic exposure may use.
std::int32_t autoExposureLimit(const ModelRow& model) {
  return std::min(model.exposureUs.max / 1000 / 1000, 60);
}

/// The properties of a control, for all models.
struct ControlRow {
  Orvik_CONTROL_TYPE type;
  std::string_view name;
  std::string_view description;
  Automatic automatic;
  Access access;
  ControlRange (*range)(const ModelRow& model);
};

ControlRange onOff(const ModelRow&) { return {0, 1, 0}; }

// In the order of the control types.
constexpr std::array<ControlRow, kControlCount> kControls = {{
    {Orvik_CTL_GAIN, "Gain", "Gain", Automatic::kYes, Access::kWritable,
     [](const ModelRow& model) { return model.gain; }},
    {Orvik_CTL_EXPOSURE, "Exposure", "Exposure Time(us)", Automatic::kYes, Access::kWritable,
     [](const ModelRow& model) { return model.exposureUs; }},
    {Orvik_CTL_GAMMA, "Gamma", "Gamma", Automatic::kNo, Access::kWritable,
     [](const ModelRow& model) { return model.gamma; }},
    {Orvik_CTL_WB_R, "WB_R", "White balance: Red", Automatic::kYes, Access::kWritable,
     [](const ModelRow& model) {
       return ControlRange{model.whiteBalanceRedDefault, model.whiteBalanceMax,
                           model.whiteBalanceMin};
     }},
    {Orvik_CTL_WB_B, "WB_B", "White balance: Blue", Automatic::kYes, Access::kWritable,
     [](const ModelRow& model) {
       return ControlRange{model.whiteBalanceBlueDefault, model.whiteBalanceMax,
                           model.whiteBalanceMin};
     }},
    {Orvik_CTL_BRIGHTNESS, "Brightness", "Brightness", Automatic::kNo, Access::kWritable,
     [](const ModelRow& model) { return model.brightness; }},
    {Orvik_CTL_BANDWIDTH, "BandWidth", "USB bandwidth percentage", Automatic::kAsModel,
     Access::kWritable,
     [](const ModelRow& model) {
       return ControlRange{50, model.bandwidthMax, model.bandwidthMin};
     }},
    {Orvik_CTL_OVERCLK, "OverCLK", "Set over clocking percentage", Automatic::kNo,
     Access::kWritable,
     [](const ModelRow&) {
       return ControlRange{0, 30, 0};
     }},
    {Orvik_CTL_TEMPERATURE, "Temperature", "Sensor temperature(degrees Celsius)", Automatic::kNo,
     Access::kReadOnly,
     [](const ModelRow&) {
       return ControlRange{20, 1000, -500};
     }},
    {Orvik_CTL_FLIP, "Flip", "Flip: 0->None 1->Horiz 2->Vert 3->Both", Automatic::kNo,
     Access::kWritable,
     [](const ModelRow&) {
       return ControlRange{0, 3, 0};
     }},
    {Orvik_CTL_AUTO_EXP_MAX_GAIN, "AutoExpMaxGain", "Auto exposure maximum gain value",
     Automatic::kNo, Access::kWritable,
     [](const ModelRow& model) {
       return ControlRange{(model.gain.max + model.gain.min) / 2, model.gain.max, model.gain.min};
     }},
    {Orvik_CTL_AUTO_EXP_MAX_EXP, "AutoExpMaxExp",
     "Auto exposure maximum exposure value(unit second)", Automatic::kNo, Access::kWritable,
     [](const ModelRow& model) {
       const std::int32_t limit = autoExposureLimit(model);
       return ControlRange{std::min(30, limit), limit, 1};
     }},
    {Orvik_CTL_AUTO_EXP_MAX_BRIGHTNESS, "AutoExpMaxBrightness",
     "Auto exposure maximum brightness value", Automatic::kNo, Access::kWritable,
     [](const ModelRow&) {
       return ControlRange{100, 160, 50};
     }},
    {Orvik_CTL_HARDWARE_BIN, "HardwareBin", "Is hardware bin2:0->No 1->Yes", Automatic::kNo,
     Access::kWritable, &onOff},
    {Orvik_CTL_HIGH_SPEED_MODE, "HighSpeedMode", "Is high speed mode:0->No 1->Yes", Automatic::kNo,
     Access::kWritable, &onOff},
    {Orvik_CTL_COOL_POWER_PERC, "CoolPowerPerc", "Cooler power percent", Automatic::kNo,
     Access::kReadOnly,
     [](const ModelRow&) {
       return ControlRange{0, 100, 0};
     }},
    {Orvik_CTL_TARGET_TEMP, "TargetTemp", "Target temperature(cool camera only)", Automatic::kNo,
     Access::kWritable,
     [](const ModelRow&) {
       return ControlRange{0, 30, -35};
     }},
    {Orvik_CTL_COOLER_ON, "Cooler on", "turn on/off cooler(cool camera only)", Automatic::kNo,
     Access::kWritable, &onOff},
}};

constexpr bool isInOrder() {
  for (std::size_t n = 0; n < kControls.size(); ++n) {
    if (kControls[n].type != static_cast<int>(n) || kControls[n].range == nullptr) return false;
  }
  return true;
}
static_assert(isInOrder(), "a control is found by its number");

const ControlRow& rowOf(Orvik_CONTROL_TYPE type) {
  return kControls[static_cast<std::size_t>(type)];
}

bool autoSupported(const ModelRow& model, const ControlRow& row) {
  return row.automatic == Automatic::kYes ||
         (row.automatic == Automatic::kAsModel && model.bandwidthAutoSupported);
}

template <std::size_t N>
void copyText(char (&field)[N], std::string_view text) {
  std::memset(field, 0, N);
  std::memcpy(field, text.data(), std::min(text.size(), N - 1));
}

}  // namespace

ControlRange controlRange(const ModelRow& model, Orvik_CONTROL_TYPE type) {
  return isControlType(type) ? rowOf(type).range(model) : ControlRange{};
}

bool describeControl(const ModelRow& model, Orvik_CONTROL_TYPE type, Orvik_CONTROL_CAPS& caps) {
  if (!isControlType(type)) return false;
  const ControlRow& row = rowOf(type);
  const ControlRange range = row.range(model);
  copyText(caps.name, row.name);
  copyText(caps.description, row.description);
  caps.maxValue = range.max;
  caps.minValue = range.min;
  caps.defaultValue = range.defaultValue;
  caps.autoSupported = autoSupported(model, row) ? Orvik_TRUE : Orvik_FALSE;
  caps.writable = row.access == Access::kWritable ? Orvik_TRUE : Orvik_FALSE;
  caps.controlType = type;
  return true;
}

}  // namespace orvik
