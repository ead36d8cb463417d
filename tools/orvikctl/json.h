// SPDX-License-Identifier: MIT
#pragma once

#include <nlohmann/json.hpp>
#include <optional>

#include "tools/orvikctl/camera.h"
#include "tools/orvikctl/control_facts.h"
#include "tools/orvikctl/control_names.h"

namespace orvik::ctl {

using Json = nlohmann::ordered_json;

/// A control as `controls`, `get` and `set` report it; `value` is null if it cannot be read.
inline Json controlJson(const Orvik_CONTROL_CAPS& caps, const std::optional<ControlValue>& now) {
  return {
      {"name", caps.name},
      {"value", now ? Json(now->value) : Json()},
      {"auto", now && now->isAuto},
      {"min", caps.minValue},
      {"max", caps.maxValue},
      {"default", caps.defaultValue},
      {"unit", controlFacts(caps.controlType).unit},
      {"autoSupported", caps.autoSupported == Orvik_TRUE},
      {"writable", caps.writable == Orvik_TRUE},
      {"description", caps.description},
  };
}

}  // namespace orvik::ctl
