// SPDX-License-Identifier: MIT
#include "settings/state_settings.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

#include "controls/control_table.h"

namespace orvik::settings {
namespace {

/// A number that has the range of a control.
struct Number {
  const char* name;
  std::atomic<int> CameraState::*member;
  Orvik_CONTROL_TYPE control;
};

constexpr std::array kNumbers = {
    Number{"Gain", &CameraState::gain, Orvik_CTL_GAIN},
    Number{"Gamma", &CameraState::gamma, Orvik_CTL_GAMMA},
    Number{"Brightness", &CameraState::brightness, Orvik_CTL_BRIGHTNESS},
    Number{"TargetTemp", &CameraState::targetTemperature, Orvik_CTL_TARGET_TEMP},
    Number{"OverCLKPerc", &CameraState::overClock, Orvik_CTL_OVERCLK},
    Number{"AutoGainMax", &CameraState::autoMaxGain, Orvik_CTL_AUTO_EXP_MAX_GAIN},
    Number{"AutoExpMax", &CameraState::autoMaxExposure, Orvik_CTL_AUTO_EXP_MAX_EXP},
    Number{"DestBrightness", &CameraState::autoTargetBrightness, Orvik_CTL_AUTO_EXP_MAX_BRIGHTNESS},
    Number{"WB_Red", &CameraState::whiteBalanceRed, Orvik_CTL_WB_R},
    Number{"WB_Blue", &CameraState::whiteBalanceBlue, Orvik_CTL_WB_B},
};

struct Flag {
  const char* name;
  std::atomic<bool> CameraState::*member;
};

// The read-out mode is applied only if the model offers the control.
constexpr std::array kReadoutFlags = {
    std::pair{Flag{"HighSpeed", &CameraState::highSpeedMode}, Orvik_CTL_HIGH_SPEED_MODE},
    std::pair{Flag{"HardwareBin", &CameraState::hardwareBin}, Orvik_CTL_HARDWARE_BIN},
};

constexpr std::array kFlags = {
    Flag{"AutoBL", &CameraState::autoBlackLevel},   Flag{"FlipRow", &CameraState::flipHorizontal},
    Flag{"FlipColumn", &CameraState::flipVertical}, Flag{"AutoExp", &CameraState::exposureAuto},
    Flag{"AutoGain", &CameraState::gainAuto},       Flag{"AutoFPS", &CameraState::bandwidthAuto},
    Flag{"RawOutput", &CameraState::rawOutput},     Flag{"AutoWB", &CameraState::whiteBalanceAuto},
    Flag{"TimeMark", &CameraState::timeMark},       Flag{"HPC", &CameraState::hotPixelCorrection},
    Flag{"CutDark", &CameraState::usingDark},
};

// In the order of CameraState::blackLevelOffsets.
constexpr std::array kOffsets = {"OO", "EE", "OE", "EO"};

constexpr const char* kExposure = "Exposure";
constexpr const char* kClock = "Fclk";
constexpr const char* kBandwidthUsb3 = "FPSPercentageUSB3";
constexpr const char* kBandwidthUsb2 = "FPSPercentageUSB2";
constexpr const char* kCoolerPower = "CoolPowerPctg";
constexpr const char* kDarkPath = "BMPPATH";

constexpr std::uint64_t kLongestStoredExposureUs = 100'000;
// The clocks of all sensors of these cameras lie within this range.
constexpr std::uint32_t kMinPlausibleClockKhz = 1'000;
constexpr std::uint32_t kMaxPlausibleClockKhz = 100'000;

Value valueOf(const Flag& flag, const CameraState& state) {
  const bool on = state.*flag.member;
  return {flag.name, Type::kBinary, {on ? std::uint8_t{1} : std::uint8_t{0}}};
}

Value dword(const char* name, std::uint32_t number) {
  Value value{name, Type::kDword, {}};
  for (unsigned shift = 0; shift < 32; shift += 8) {
    value.bytes.push_back(static_cast<std::uint8_t>(number >> shift & 0xFFU));
  }
  return value;
}

Value dword(const char* name, int number) {
  return dword(name, static_cast<std::uint32_t>(number));
}

/// Replaces the low bytes of a number by a value. @return `present` without such a value.
std::uint32_t lowBytesSet(const Group& group, const char* name, std::uint32_t present) {
  const Value* value = find(group, name);
  if (value == nullptr || value->bytes.size() > sizeof present) return present;
  unsigned shift = 0;
  for (const std::uint8_t byte : value->bytes) {
    present = (present & ~(0xFFU << shift)) | static_cast<std::uint32_t>(byte) << shift;
    shift += 8;
  }
  return present;
}

/// A value of one byte. @return nothing without such a value.
std::optional<std::uint8_t> byteOf(const Group& group, const char* name) {
  const Value* value = find(group, name);
  if (value == nullptr || value->bytes.size() != 1) return std::nullopt;
  return value->bytes.front();
}

int within(int value, const ControlRange& range) { return std::clamp(value, range.min, range.max); }

void applyNumber(const Group& group, const char* name, const ControlRange& range,
                 std::atomic<int>& member) {
  if (find(group, name) == nullptr) return;
  const auto present = static_cast<std::uint32_t>(member.load());
  member = within(static_cast<int>(lowBytesSet(group, name, present)), range);
}

void applyFlag(const Group& group, const Flag& flag, CameraState& state) {
  if (const auto byte = byteOf(group, flag.name)) state.*flag.member = *byte != 0;
}

void applyExposure(const Group& group, const ModelRow& model, CameraState& state) {
  const std::uint64_t present = state.exposureUs;
  const std::uint64_t high = present >> 32U << 32U;
  const std::uint64_t exposure =
      high | lowBytesSet(group, kExposure, static_cast<std::uint32_t>(present));
  state.exposureUs = std::clamp(exposure, static_cast<std::uint64_t>(model.exposureUs.min),
                                kLongestStoredExposureUs);
}

void applyDarkPath(const Group& group, CameraState& state) {
  const Value* value = find(group, kDarkPath);
  if (value == nullptr || value->bytes.size() > state.darkPath.size()) return;
  if (std::ranges::find(value->bytes, std::uint8_t{0}) == value->bytes.end()) return;  // truncated
  std::ranges::transform(value->bytes, state.darkPath.begin(),
                         [](std::uint8_t byte) { return static_cast<char>(byte); });
}

}  // namespace

Group groupOf(const CameraState& state) {
  Group group;
  group.push_back(dword(kExposure, static_cast<std::uint32_t>(state.exposureUs)));
  group.push_back(dword(kClock, state.clockKhz));
  group.push_back(dword(state.usb3Host ? kBandwidthUsb3 : kBandwidthUsb2, state.bandwidth));
  group.push_back(dword(kCoolerPower, static_cast<int>(state.coolerPower)));
  for (const Number& number : kNumbers) {
    group.push_back(dword(number.name, state.*number.member));
  }
  for (std::size_t i = 0; i < kOffsets.size(); ++i) {
    // One byte, but with the tag of a number, for compatibility with existing files.
    group.push_back({kOffsets[i], Type::kDword, {state.blackLevelOffsets[i]}});
  }
  for (const Flag& flag : kFlags) group.push_back(valueOf(flag, state));
  for (const auto& [flag, control] : kReadoutFlags) group.push_back(valueOf(flag, state));
  group.push_back({kDarkPath, Type::kBinary, {state.darkPath.begin(), state.darkPath.end()}});
  return group;
}

void apply(const Group& group, const ModelRow& model, CameraState& state) {
  applyExposure(group, model, state);
  const std::uint32_t clock = lowBytesSet(group, kClock, 0);
  if (clock >= kMinPlausibleClockKhz && clock <= kMaxPlausibleClockKhz) {
    state.clockKhz = static_cast<int>(clock);
  }
  const ControlRange bandwidth = controlRange(model, Orvik_CTL_BANDWIDTH);
  applyNumber(group, kBandwidthUsb3, bandwidth, state.bandwidthUsb3);
  applyNumber(group, kBandwidthUsb2, bandwidth, state.bandwidth);
  state.coolerPower =
      static_cast<float>(within(static_cast<int>(lowBytesSet(group, kCoolerPower, 0)),
                                controlRange(model, Orvik_CTL_COOL_POWER_PERC)));
  for (const Number& number : kNumbers) {
    applyNumber(group, number.name, controlRange(model, number.control), state.*number.member);
  }
  for (std::size_t i = 0; i < kOffsets.size(); ++i) {
    if (const auto byte = byteOf(group, kOffsets[i])) state.blackLevelOffsets[i] = *byte;
  }
  for (const Flag& flag : kFlags) applyFlag(group, flag, state);
  for (const auto& [flag, control] : kReadoutFlags) {
    if (model.controls.has(control)) applyFlag(group, flag, state);
  }
  applyDarkPath(group, state);
  if (!model.bandwidthAutoSupported) state.bandwidthAuto = false;
}

}  // namespace orvik::settings
