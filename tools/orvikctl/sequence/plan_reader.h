// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "tools/orvikctl/sequence/plan.h"

namespace orvik::ctl {

/// Reads a plan from a TOML file.
///
/// @throws Failure (kFileFailed) if the file cannot be read; Failure (kUsage) for a text that is no
///         TOML, keys that do not exist, values of a wrong type or out of range. The message gives
///         the file, the line and the key
SequencePlan readPlan(const std::filesystem::path& file);

/// Reads a plan from a text.
///
/// @param name of the file, for messages
/// @throws Failure (kUsage) as readPlan()
SequencePlan parsePlan(std::string_view text, const std::string& name);

/// Reads a step of the command line: KIND:COUNTxEXPOSURE[:FILTER], as "light:20x300s:Ha"; for flats
/// also KIND:COUNTxLEVEL%, as "flat:15x50%:Ha".
///
/// @throws Failure (kUsage)
StepPlan parseStep(const std::string& text);

}  // namespace orvik::ctl
