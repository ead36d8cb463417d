// SPDX-License-Identifier: MIT
#pragma once

#include <nlohmann/json.hpp>
#include <optional>

#include "orvik/orvik.hpp"
#include "tools/orvikctl/control_facts.h"
#include "tools/orvikctl/control_names.h"

namespace orvik::ctl {

using Json = nlohmann::ordered_json;

/// A control as `controls`, `get` and `set` report it; `value` is null if it cannot be read.
inline Json controlJson(const Control& control, const std::optional<ControlValue>& now) {
  return {
      {"name", control.name()},
      {"value", now ? Json(now->value) : Json()},
      {"auto", now && now->isAuto},
      {"min", control.min()},
      {"max", control.max()},
      {"default", control.defaultValue()},
      {"unit", controlFacts(control.type()).unit},
      {"autoSupported", control.hasAuto()},
      {"writable", control.isWritable()},
      {"description", control.description()},
  };
}

}  // namespace orvik::ctl
