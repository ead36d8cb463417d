// SPDX-License-Identifier: MIT
// Controls: their records, their limits, their automatic mode.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <set>

#include "tools/orvikctl/selftest/check.h"
#include "tools/orvikctl/selftest/expect.h"
#include "tools/orvikctl/selftest/figures.h"

namespace orvik::ctl::selftest {
namespace {

constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();

std::string records(Subject& subject) {
  std::set<int> seen;
  for (const Orvik_CONTROL_CAPS& caps : subject.controls()) {
    const bool hasEnd = std::memchr(caps.name, 0, sizeof caps.name) != nullptr &&
                        std::memchr(caps.description, 0, sizeof caps.description) != nullptr;
    expectThat(hasEnd && caps.name[0] != 0, "a name and a description with an end",
               "none for control " + std::to_string(caps.controlType));
    const std::string name = caps.name;
    expectThat(seen.insert(caps.controlType).second, name + " once in the list", "it again");
    // The limit of automatic exposures has one default, also where no exposure is that long.
    const bool isOneForAll = caps.controlType == Orvik_CTL_AUTO_EXP_MAX_EXP;
    expectThat(
        caps.minValue <= caps.defaultValue && (isOneForAll || caps.defaultValue <= caps.maxValue),
        "the default of " + name + " within its limits",
        std::to_string(caps.defaultValue) + " beyond " + std::to_string(caps.minValue) + " to " +
            std::to_string(caps.maxValue));
    static_cast<void>(subject.value(caps.controlType));
  }
  expectThat(seen.count(Orvik_CTL_GAIN) == 1 && seen.count(Orvik_CTL_EXPOSURE) == 1,
             "at least gain and exposure", "none of them");
  return std::to_string(seen.size()) + " controls";
}

void setAndExpect(const Subject& subject, const Orvik_CONTROL_CAPS& caps, std::int32_t value,
                  std::int32_t expected) {
  subject.set(caps.controlType, value);
  expectEqual(expected, subject.value(caps.controlType).value,
              std::string(caps.name) + " after setting " + std::to_string(value));
}

/// A negative exposure is what remains of one that is too long for 32 bits.
std::int32_t limited(const Orvik_CONTROL_CAPS& caps, std::int32_t value) {
  if (caps.controlType == Orvik_CTL_EXPOSURE && value < 0) return caps.maxValue;
  return std::clamp(value, caps.minValue, caps.maxValue);
}

/// The cooler is switched, but must never cool: that could damage a real sensor.
void holdPresentTemperature(const Subject& subject) {
  const double now = subject.value(Orvik_CTL_TEMPERATURE).value / 10.0;
  subject.set(Orvik_CTL_TARGET_TEMP, static_cast<std::int32_t>(std::ceil(now)));
}

/// Whether a value beyond its limits is set to the limit.
bool keepsToLimits(const Orvik_CONTROL_CAPS& caps) {
  return caps.controlType != Orvik_CTL_FLIP;  // of which there is no nearest one
}

std::string limits(Subject& subject) {
  int tried = 0;
  for (const Orvik_CONTROL_CAPS& caps : subject.controls()) {
    if (caps.writable != Orvik_TRUE) continue;
    const std::int32_t before = subject.value(caps.controlType).value;
    if (caps.controlType == Orvik_CTL_COOLER_ON) holdPresentTemperature(subject);
    std::vector<std::int32_t> values = {caps.minValue, caps.maxValue};
    if (keepsToLimits(caps)) {
      values.insert(values.end(), {kLeast, kMost, caps.minValue - 1, caps.maxValue + 1});
    }
    values.push_back(std::min(caps.defaultValue, caps.maxValue));
    for (const std::int32_t value : values)
      setAndExpect(subject, caps, value, limited(caps, value));
    setAndExpect(subject, caps, before, before);
    ++tried;
  }
  return std::to_string(tried) + " controls";
}

std::string beyondLimits(Subject& subject) {
  int tried = 0;
  for (const Orvik_CONTROL_CAPS& caps : subject.controls()) {
    if (caps.writable != Orvik_TRUE || keepsToLimits(caps)) continue;
    for (const std::int32_t value : {kLeast, kMost}) {
      // Each control decides whether it accepts the value.
      OrvikSetControlValue(subject.index(), caps.controlType, value, Orvik_FALSE);
      static_cast<void>(subject.takeFrame());
    }
    setAndExpect(subject, caps, caps.maxValue, caps.maxValue);
    ++tried;
  }
  return std::to_string(tried) + " controls";
}

std::string readOnly(Subject& subject) {
  int tried = 0;
  for (const Orvik_CONTROL_CAPS& caps : subject.controls()) {
    if (caps.writable == Orvik_TRUE) continue;
    subject.set(caps.controlType, caps.maxValue);
    const std::int32_t now = subject.value(caps.controlType).value;
    expectThat(now != caps.maxValue, std::string(caps.name) + " as it was",
               "the value that was set");
    ++tried;
  }
  if (tried == 0) throw CheckSkipped("all its controls can be set");
  return std::to_string(tried) + " controls";
}

std::string automatic(Subject& subject) {
  int tried = 0;
  for (const Orvik_CONTROL_CAPS& caps : subject.controls()) {
    if (caps.autoSupported != Orvik_TRUE) continue;
    const std::string name = caps.name;
    expectOk(OrvikSetControlValue(subject.index(), caps.controlType, caps.defaultValue, Orvik_TRUE),
             "putting " + name + " on automatic");
    expectThat(subject.value(caps.controlType).isAuto, name + " on automatic", "not");
    subject.set(caps.controlType, caps.defaultValue);
    const ControlValue now = subject.value(caps.controlType);
    expectThat(!now.isAuto, name + " off automatic", "on");
    expectEqual(caps.defaultValue, now.value, name + " after automatic");
    ++tried;
  }
  if (tried == 0) throw CheckSkipped("no control has an automatic mode");
  return std::to_string(tried) + " controls";
}

std::string duringVideo(Subject& subject) {
  const Orvik_CONTROL_CAPS gain = subject.control(Orvik_CTL_GAIN);
  FrameBuffer frame(subject.format());
  subject.startVideo();
  for (int round = 0; round < 3; ++round) {
    for (const std::int32_t value : {gain.minValue, gain.maxValue}) {
      setAndExpect(subject, gain, value, value);
      subject.setExposure(value == gain.minValue ? 500 : 3000);
      subject.readFrame(frame);
    }
  }
  return "";
}

std::string withoutCooler(Subject& subject) {
  if (subject.info().hasCooler == Orvik_TRUE) throw CheckSkipped("the camera has a cooler");
  for (const Orvik_CONTROL_TYPE type : {Orvik_CTL_TARGET_TEMP, Orvik_CTL_COOLER_ON}) {
    const std::string name = "control " + std::to_string(type) + " without a cooler";
    std::int32_t value = 0;
    Orvik_BOOL isAuto = Orvik_FALSE;
    expectCode(Orvik_ERROR_DRIVER_FAILED, OrvikSetControlValue(subject.index(), type, 0, isAuto),
               "setting " + name);
    expectCode(Orvik_ERROR_CONTROL, OrvikGetControlValue(subject.index(), type, &value, &isAuto),
               "reading " + name);
  }
  return "";
}

std::string temperature(Subject& subject) {
  static_cast<void>(subject.control(Orvik_CTL_TEMPERATURE));
  const double celsius = subject.value(Orvik_CTL_TEMPERATURE).value / 10.0;
  expectWithin(-60, 90, celsius, "sensor temperature");
  return figure(celsius, "degC");
}

constexpr std::array kChecks = {
    Check{"controls.records", "every control is described, and can be read", records},
    Check{"controls.limits", "every control takes its limits, and most keep to them", limits},
    Check{"controls.beyond", "values beyond the limits of other controls do no harm", beyondLimits},
    Check{"controls.read-only", "controls to read only stay as they are", readOnly},
    Check{"controls.automatic", "controls go on automatic and off again", automatic},
    Check{"controls.video", "gain and exposure change during video", duringVideo},
    Check{"controls.no-cooler", "a camera without a cooler says so", withoutCooler},
    Check{"controls.temperature", "the temperature is one of this world", temperature},
};

}  // namespace

std::span<const Check> controlChecks() { return kChecks; }

}  // namespace orvik::ctl::selftest
