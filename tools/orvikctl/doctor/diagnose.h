// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "tools/orvikctl/doctor/machine.h"

namespace orvik::ctl::doctor {

/// Something that keeps a camera from working, or from working as it could.
struct Finding {
  std::string id;    ///< does not change once it is published
  std::string what;  ///< one sentence
  std::string fix;   ///< one or two sentences
};

/// Judges what was seen of a machine. Pure.
std::vector<Finding> diagnose(const MachineFacts& machine);

}  // namespace orvik::ctl::doctor
