// SPDX-License-Identifier: MIT
#include "controls/control_table.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <optional>
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
  std::string_view name;
  std::string_view description;
  Automatic automatic;
  Access access;
  ControlRange (*range)(const ModelRow& model);
};

ControlRange onOff(const ModelRow&) { return {0, 1, 0}; }

/// The table of controls. A switch, so that the compiler names a control that has no row.
/// @return nothing for a number that is no control.
std::optional<ControlRow> controlRow(int number) {
  switch (static_cast<Orvik_CONTROL_TYPE>(number)) {
    case Orvik_CTL_GAIN:
      return ControlRow{"Gain", "Gain", Automatic::kYes, Access::kWritable,
                        [](const ModelRow& model) { return model.gain; }};
    case Orvik_CTL_EXPOSURE:
      return ControlRow{"Exposure", "Exposure Time(us)", Automatic::kYes, Access::kWritable,
                        [](const ModelRow& model) { return model.exposureUs; }};
    case Orvik_CTL_GAMMA:
      return ControlRow{"Gamma", "Gamma", Automatic::kNo, Access::kWritable,
                        [](const ModelRow& model) { return model.gamma; }};
    case Orvik_CTL_WB_R:
      return ControlRow{"WB_R", "White balance: Red", Automatic::kYes, Access::kWritable,
                        [](const ModelRow& model) {
                          return ControlRange{model.whiteBalanceRedDefault, model.whiteBalanceMax,
                                              model.whiteBalanceMin};
                        }};
    case Orvik_CTL_WB_B:
      return ControlRow{"WB_B", "White balance: Blue", Automatic::kYes, Access::kWritable,
                        [](const ModelRow& model) {
                          return ControlRange{model.whiteBalanceBlueDefault, model.whiteBalanceMax,
                                              model.whiteBalanceMin};
                        }};
    case Orvik_CTL_BRIGHTNESS:
      return ControlRow{"Brightness", "Brightness", Automatic::kNo, Access::kWritable,
                        [](const ModelRow& model) { return model.brightness; }};
    case Orvik_CTL_BANDWIDTH:
      return ControlRow{"BandWidth", "USB bandwidth percentage", Automatic::kAsModel,
                        Access::kWritable, [](const ModelRow& model) {
                          return ControlRange{50, model.bandwidthMax, model.bandwidthMin};
                        }};
    case Orvik_CTL_OVERCLK:
      return ControlRow{"OverCLK", "Set over clocking percentage", Automatic::kNo,
                        Access::kWritable, [](const ModelRow&) {
                          return ControlRange{0, 30, 0};
                        }};
    case Orvik_CTL_TEMPERATURE:
      return ControlRow{"Temperature", "Sensor temperature(degrees Celsius)", Automatic::kNo,
                        Access::kReadOnly, [](const ModelRow&) {
                          return ControlRange{20, 1000, -500};
                        }};
    case Orvik_CTL_FLIP:
      return ControlRow{"Flip", "Flip: 0->None 1->Horiz 2->Vert 3->Both", Automatic::kNo,
                        Access::kWritable, [](const ModelRow&) {
                          return ControlRange{0, 3, 0};
                        }};
    case Orvik_CTL_AUTO_EXP_MAX_GAIN:
      return ControlRow{"AutoExpMaxGain", "Auto exposure maximum gain value", Automatic::kNo,
                        Access::kWritable, [](const ModelRow& model) {
                          return ControlRange{(model.gain.max + model.gain.min) / 2, model.gain.max,
                                              model.gain.min};
                        }};
    case Orvik_CTL_AUTO_EXP_MAX_EXP:
      return ControlRow{"AutoExpMaxExp", "Auto exposure maximum exposure value(unit second)",
                        Automatic::kNo, Access::kWritable, [](const ModelRow& model) {
                          const std::int32_t limit = autoExposureLimit(model);
                          return ControlRange{std::min(30, limit), limit, 1};
                        }};
    case Orvik_CTL_AUTO_EXP_MAX_BRIGHTNESS:
      return ControlRow{"AutoExpMaxBrightness", "Auto exposure maximum brightness value",
                        Automatic::kNo, Access::kWritable, [](const ModelRow&) {
                          return ControlRange{100, 160, 50};
                        }};
    case Orvik_CTL_HARDWARE_BIN:
      return ControlRow{"HardwareBin", "Is hardware bin2:0->No 1->Yes", Automatic::kNo,
                        Access::kWritable, &onOff};
    case Orvik_CTL_HIGH_SPEED_MODE:
      return ControlRow{"HighSpeedMode", "Is high speed mode:0->No 1->Yes", Automatic::kNo,
                        Access::kWritable, &onOff};
    case Orvik_CTL_COOL_POWER_PERC:
      return ControlRow{"CoolPowerPerc", "Cooler power percent", Automatic::kNo, Access::kReadOnly,
                        [](const ModelRow&) {
                          return ControlRange{0, 100, 0};
                        }};
    case Orvik_CTL_TARGET_TEMP:
      return ControlRow{"TargetTemp", "Target temperature(cool camera only)", Automatic::kNo,
                        Access::kWritable, [](const ModelRow&) {
                          return ControlRange{0, 30, -35};
                        }};
    case Orvik_CTL_COOLER_ON:
      return ControlRow{"Cooler on", "turn on/off cooler(cool camera only)", Automatic::kNo,
                        Access::kWritable, &onOff};
  }
  return std::nullopt;
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

bool isControlType(int number) { return controlRow(number).has_value(); }

ControlRange controlRange(const ModelRow& model, Orvik_CONTROL_TYPE type) {
  const auto row = controlRow(type);
  return row ? row->range(model) : ControlRange{};
}

bool describeControl(const ModelRow& model, Orvik_CONTROL_TYPE type, Orvik_CONTROL_CAPS& caps) {
  const auto row = controlRow(type);
  if (!row) return false;
  const ControlRange range = row->range(model);
  copyText(caps.name, row->name);
  copyText(caps.description, row->description);
  caps.maxValue = range.max;
  caps.minValue = range.min;
  caps.defaultValue = range.defaultValue;
  caps.autoSupported = autoSupported(model, *row) ? Orvik_TRUE : Orvik_FALSE;
  caps.writable = row->access == Access::kWritable ? Orvik_TRUE : Orvik_FALSE;
  caps.controlType = type;
  return true;
}

}  // namespace orvik
