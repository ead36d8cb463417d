// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "orvik/cpp/error.hpp"

namespace orvik {
inline namespace v0 {

/// @addtogroup cpp
/// @{

/// How an image is mirrored. The values are those of #Orvik_CTL_FLIP.
enum class Flip : std::int32_t { kNone = 0, kHorizontal = 1, kVertical = 2, kBoth = 3 };

/// Tenths of a degree Celsius, as the camera measures.
struct Celsius {
  double degrees = 0;
  friend auto operator<=>(const Celsius&, const Celsius&) = default;
};

/// How the values of a control are converted to and from the type that a program uses.
template <typename T>
struct ControlUnit {
  static T fromLibrary(std::int32_t value) { return static_cast<T>(value); }
  static std::int32_t toLibrary(T value) { return static_cast<std::int32_t>(value); }
};
template <typename Rep, typename Period>
struct ControlUnit<std::chrono::duration<Rep, Period>> {
  using Duration = std::chrono::duration<Rep, Period>;
  static Duration fromLibrary(std::int32_t value) { return Duration(value); }
  /// A time that is too long for the control becomes the longest one.
  static std::int32_t toLibrary(Duration value) {
    using Limits = std::numeric_limits<std::int32_t>;
    return static_cast<std::int32_t>(
        std::clamp<Rep>(value.count(), 0, static_cast<Rep>(Limits::max())));
  }
};
template <>
struct ControlUnit<Celsius> {
  static Celsius fromLibrary(std::int32_t tenths) { return {tenths / 10.0}; }
};

/// A control by name, with the type of its value: `camera.set(control::kExposure, 20ms)`.
template <typename T>
struct ControlName {
  Orvik_CONTROL_TYPE type;
};

/// All controls. Units and meaning: ::Orvik_CONTROL_TYPE.
namespace control {
inline constexpr ControlName<int> kGain{Orvik_CTL_GAIN};
inline constexpr ControlName<std::chrono::microseconds> kExposure{Orvik_CTL_EXPOSURE};
inline constexpr ControlName<int> kGamma{Orvik_CTL_GAMMA};
inline constexpr ControlName<int> kWhiteBalanceRed{Orvik_CTL_WB_R};
inline constexpr ControlName<int> kWhiteBalanceBlue{Orvik_CTL_WB_B};
inline constexpr ControlName<int> kBrightness{Orvik_CTL_BRIGHTNESS};
inline constexpr ControlName<int> kBandwidth{Orvik_CTL_BANDWIDTH};
inline constexpr ControlName<int> kOverclock{Orvik_CTL_OVERCLK};
inline constexpr ControlName<Celsius> kTemperature{Orvik_CTL_TEMPERATURE};  ///< read only
inline constexpr ControlName<Flip> kFlip{Orvik_CTL_FLIP};
inline constexpr ControlName<int> kAutoMaxGain{Orvik_CTL_AUTO_EXP_MAX_GAIN};
inline constexpr ControlName<std::chrono::seconds> kAutoMaxExposure{Orvik_CTL_AUTO_EXP_MAX_EXP};
inline constexpr ControlName<int> kAutoBrightness{Orvik_CTL_AUTO_EXP_MAX_BRIGHTNESS};
inline constexpr ControlName<bool> kHardwareBin{Orvik_CTL_HARDWARE_BIN};
inline constexpr ControlName<bool> kHighSpeed{Orvik_CTL_HIGH_SPEED_MODE};
inline constexpr ControlName<int> kCoolerPower{Orvik_CTL_COOL_POWER_PERC};  ///< read only
inline constexpr ControlName<int> kTargetTemperature{Orvik_CTL_TARGET_TEMP};
inline constexpr ControlName<bool> kCoolerOn{Orvik_CTL_COOLER_ON};
}  // namespace control

/// A control's value, in the unit of ::Orvik_CONTROL_TYPE, and whether it is automatic.
struct ControlValue {
  std::int32_t value = 0;
  bool isAuto = false;
  friend bool operator==(const ControlValue&, const ControlValue&) = default;
};

/// An open camera as its parts refer to it. After the camera was closed they fail with
/// #Orvik_ERROR_NO_CAMERA_OBJECT.
struct OpenedCamera {
  int handle = -1;
  std::string label;  ///< how messages name it

  /// "Vek T15C 0012ABCD: setting Gain", for messages.
  [[nodiscard]] std::string doing(std::string_view what) const {
    return label + ": " + std::string(what);
  }
};

/// A control that an open camera offers. Any thread.
class Control {
 public:
  Control(std::shared_ptr<const OpenedCamera> camera, const Orvik_CONTROL_CAPS& caps)
      : camera_(std::move(camera)), caps_(caps) {}

  [[nodiscard]] Orvik_CONTROL_TYPE type() const { return caps_.controlType; }
  [[nodiscard]] std::string_view name() const { return caps_.name; }
  [[nodiscard]] std::string_view description() const { return caps_.description; }
  [[nodiscard]] std::int32_t min() const { return caps_.minValue; }
  [[nodiscard]] std::int32_t max() const { return caps_.maxValue; }
  [[nodiscard]] std::int32_t defaultValue() const { return caps_.defaultValue; }
  [[nodiscard]] bool hasAuto() const { return caps_.autoSupported == Orvik_TRUE; }
  [[nodiscard]] bool isWritable() const { return caps_.writable == Orvik_TRUE; }

  [[nodiscard]] ControlValue read(OnError onError = {}) const {
    std::int32_t value = 0;
    Orvik_BOOL isAuto = Orvik_FALSE;
    const auto code = OrvikGetControlValue(camera_->handle, type(), &value, &isAuto);
    if (!onError.succeeded(code, [&] { return doing("reading "); })) return {};
    return {value, isAuto == Orvik_TRUE};
  }

  /// Sets the control; a value beyond the limits becomes the nearest limit.
  void write(ControlValue value, OnError onError = {}) const {
    const Orvik_BOOL isAuto = value.isAuto ? Orvik_TRUE : Orvik_FALSE;
    const auto code = OrvikSetControlValue(camera_->handle, type(), value.value, isAuto);
    onError.succeeded(code, [&] { return doing("setting "); });
  }

 private:
  [[nodiscard]] std::string doing(const char* what) const {
    return camera_->doing(what + std::string(name()));
  }

  std::shared_ptr<const OpenedCamera> camera_;
  Orvik_CONTROL_CAPS caps_;
};

/// @}

}  // namespace v0
}  // namespace orvik
