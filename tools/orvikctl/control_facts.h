// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

#include "imaging/processing.h"
#include "orvik/orvik.h"

namespace orvik::ctl {

/// The option of `snap` and `video` that sets one control.
struct ControlOption {
  enum class Group : std::uint8_t { kSensor, kImage };

  const char* name = nullptr;  ///< with its dashes; null for a control without an option
  const char* typeName = "N";
  const char* description = "";
  Group group = Group::kSensor;
  std::span<const std::string_view> words{};  ///< stand for 0, 1, 2...; empty for a plain number
  bool beforeFormat = false;                  ///< set before the image format, which it can change
};

/// All that the program knows of a control, beyond the record that the camera gives of it.
struct ControlFacts {
  bool isControl = true;    ///< false for a number that is no control
  std::string_view unit{};  ///< of its whole-number value; "" for plain steps
  bool isTime = false;      ///< typed and shown with a unit of time; the value is in microseconds
  ControlOption option{};
};

inline constexpr std::array<std::string_view, 2> kOffOn = {"off", "on"};

/// The table of controls. A switch, so that the compiler names a control that has no row.
constexpr ControlFacts controlFacts(Orvik_CONTROL_TYPE type) {
  using enum ControlOption::Group;
  switch (type) {
    case Orvik_CTL_GAIN:
      return {.option = {"--gain", "N[:auto]", "Gain in steps of the sensor"}};
    case Orvik_CTL_EXPOSURE:
      return {
          .unit = "us",
          .isTime = true,
          .option = {"--exposure", "TIME[:auto]",
                     "Exposure time: 1500us, 20ms, 2.5s, 3min. Automatic, in videos only, it rests "
                     "while the brightness is within 15 % of its target"}};
    case Orvik_CTL_GAMMA:
      return {.option = {"--gamma", "N", "Gamma, 1 to 100; 50 is linear"}};
    case Orvik_CTL_BRIGHTNESS:
      return {.option = {"--brightness", "N", "Black level (offset) in steps of the sensor"}};
    case Orvik_CTL_BANDWIDTH:
      return {
          .unit = "%",
          .option = {
              "--bandwidth", "N[:auto]", "Share of the USB bandwidth, percent", kSensor, {}, true}};
    case Orvik_CTL_FLIP:
      return {.option = {"--flip", "none|h|v|both",
                         "Mirror the image: h left to right, v top to bottom", kImage,
                         imaging::kFlipNames, true}};
    case Orvik_CTL_HARDWARE_BIN:
      return {.option = {"--hardware-bin", "on|off", "Whether the camera bins, or the host", kImage,
                         kOffOn, true}};
    case Orvik_CTL_HIGH_SPEED_MODE:
      return {.option = {"--high-speed", "on|off", "Faster read-out of 8-bit images, fewer bits",
                         kSensor, kOffOn, true}};
    case Orvik_CTL_OVERCLK:
    case Orvik_CTL_COOL_POWER_PERC:
      return {.unit = "%"};
    case Orvik_CTL_TEMPERATURE:
      return {.unit = "0.1 degC"};
    case Orvik_CTL_TARGET_TEMP:
      return {.unit = "degC"};
    case Orvik_CTL_AUTO_EXP_MAX_EXP:
      return {.unit = "s"};
    case Orvik_CTL_WB_R:  // set together by --wb
    case Orvik_CTL_WB_B:
    case Orvik_CTL_AUTO_EXP_MAX_GAIN:
    case Orvik_CTL_AUTO_EXP_MAX_BRIGHTNESS:
    case Orvik_CTL_COOLER_ON:
      return {};
  }
  return {.isControl = false};
}

/// Calls `use(type, option)` for each control with an option, in the order of their numbers.
template <typename Use>
void forEachControlOption(Use use) {
  for (int number = 0; controlFacts(Orvik_CONTROL_TYPE{number}).isControl; ++number) {
    const Orvik_CONTROL_TYPE type{number};
    const ControlOption option = controlFacts(type).option;
    if (option.name != nullptr) use(type, option);
  }
}

}  // namespace orvik::ctl
