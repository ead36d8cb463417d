// SPDX-License-Identifier: MIT
#include "tools/orvikctl/control_names.h"

#include <algorithm>
#include <optional>

#include "imaging/time_text.h"
#include "tools/orvikctl/control_facts.h"
#include "tools/orvikctl/failure.h"
#include "tools/orvikctl/units.h"

namespace orvik::ctl {
namespace {

[[noreturn]] void refuse(const Control& control, const std::string& why) {
  throw Failure(ExitCode::kUsage, std::string(control.name()) + " " + why);
}

/// The number as typed, in the control's own unit.
std::optional<std::int64_t> numberOf(const Control& control, std::string_view text) {
  if (controlFacts(control.type()).isTime) return parseDuration(text);
  return parseInteger(text);
}

std::string withUnit(std::int32_t value, Orvik_CONTROL_TYPE type) {
  if (controlFacts(type).isTime) return imaging::formatDuration(value);
  const std::string_view unit = controlFacts(type).unit;
  return std::to_string(value) + (unit.empty() ? "" : " ") + std::string(unit);
}

}  // namespace

std::optional<ControlValue> valueIfAny(const Camera& camera, Orvik_CONTROL_TYPE type) {
  if (camera.control(type) == nullptr) return std::nullopt;
  std::error_code error;
  const ControlValue value = camera.read(type, error);
  return error ? std::nullopt : std::optional(value);
}

const Control& findControl(const Camera& camera, std::string_view name) {
  std::string names;
  for (const Control& control : camera.controls()) {
    if (foldName(control.name()) == foldName(name)) return control;
    names += (names.empty() ? "" : ", ") + std::string(control.name());
  }
  throw Failure(ExitCode::kUsage,
                "this camera has no control \"" + std::string(name) + "\". It has " + names + ".");
}

ControlValue parseControlValue(const Camera& camera, const Control& control,
                               std::string_view text) {
  const auto setting = parseSetting(text);
  if (!setting) refuse(control, "needs a value.");
  if (!control.isWritable()) refuse(control, "can only be read.");
  if (setting->isAuto && !control.hasAuto()) refuse(control, "has no automatic mode.");
  if (!setting->value) return {camera.read(control.type()).value, true};
  const auto number = numberOf(control, *setting->value);
  if (!number) {
    refuse(control,
           "does not understand \"" + *setting->value + "\": " +
               (controlFacts(control.type()).isTime ? "give a time such as 1500us, 20ms or 2.5s."
                                                    : "give a whole number."));
  }
  if (*number < control.min() || *number > control.max()) {
    refuse(control, "lies between " + withUnit(control.min(), control.type()) + " and " +
                        withUnit(control.max(), control.type()) + "; " + *setting->value +
                        " does not.");
  }
  return {static_cast<std::int32_t>(*number), setting->isAuto};
}

std::string assignmentText(const Control& control, ControlValue value) {
  return std::string(control.name()) + "=" + std::to_string(value.value) +
         (controlFacts(control.type()).isTime ? "us" : "") + (value.isAuto ? ":auto" : "");
}

}  // namespace orvik::ctl
