// SPDX-License-Identifier: MIT
#include "tools/orvikctl/control_names.h"

#include <algorithm>
#include <optional>

#include "tools/orvikctl/control_facts.h"
#include "tools/orvikctl/failure.h"
#include "tools/orvikctl/units.h"

namespace orvik::ctl {
namespace {

[[noreturn]] void refuse(const Orvik_CONTROL_CAPS& caps, const std::string& why) {
  throw Failure(ExitCode::kUsage, std::string(caps.name) + " " + why);
}

/// The number as typed, in the control's own unit.
std::optional<std::int64_t> numberOf(const Orvik_CONTROL_CAPS& caps, std::string_view text) {
  if (controlFacts(caps.controlType).isTime) return parseDuration(text);
  return parseInteger(text);
}

std::string withUnit(std::int32_t value, Orvik_CONTROL_TYPE type) {
  if (controlFacts(type).isTime) return formatDuration(value);
  const std::string_view unit = controlFacts(type).unit;
  return std::to_string(value) + (unit.empty() ? "" : " ") + std::string(unit);
}

}  // namespace

std::vector<IMG_TYPE> imageTypesOf(const Orvik_CAMERA_INFO& info) {
  const auto* end =
      std::find(std::begin(info.imageTypes), std::end(info.imageTypes), Orvik_IMG_END);
  return {std::begin(info.imageTypes), end};
}

std::vector<int> binsOf(const Orvik_CAMERA_INFO& info) {
  const auto* end = std::find(std::begin(info.bins), std::end(info.bins), 0);
  return {std::begin(info.bins), end};
}

const Orvik_CONTROL_CAPS& findControl(const Camera& camera, std::string_view name) {
  std::string names;
  for (const Orvik_CONTROL_CAPS& caps : camera.controls()) {
    if (foldName(caps.name) == foldName(name)) return caps;
    names += (names.empty() ? "" : ", ") + std::string(caps.name);
  }
  throw Failure(ExitCode::kUsage,
                "this camera has no control \"" + std::string(name) + "\". It has " + names + ".");
}

ControlValue parseControlValue(const Camera& camera, const Orvik_CONTROL_CAPS& caps,
                               std::string_view text) {
  const auto setting = parseSetting(text);
  if (!setting) refuse(caps, "needs a value.");
  if (caps.writable == Orvik_FALSE) refuse(caps, "can only be read.");
  if (setting->isAuto && caps.autoSupported == Orvik_FALSE) refuse(caps, "has no automatic mode.");
  if (!setting->value) return {camera.value(caps.controlType).value, true};
  const auto number = numberOf(caps, *setting->value);
  if (!number) {
    refuse(caps,
           "does not understand \"" + *setting->value + "\": " +
               (controlFacts(caps.controlType).isTime ? "give a time such as 1500us, 20ms or 2.5s."
                                                      : "give a whole number."));
  }
  if (*number < caps.minValue || *number > caps.maxValue) {
    refuse(caps, "lies between " + withUnit(caps.minValue, caps.controlType) + " and " +
                     withUnit(caps.maxValue, caps.controlType) + "; " + *setting->value +
                     " does not.");
  }
  return {static_cast<std::int32_t>(*number), setting->isAuto};
}

}  // namespace orvik::ctl
