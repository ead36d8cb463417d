// SPDX-License-Identifier: MIT
#pragma once

#include "tools/orvikctl/capture/capture_options.h"
#include "tools/orvikctl/sequence/plan.h"

namespace orvik::ctl {

/// Fills what a plan leaves open from the command line: names, cooling, settings of the steps.
void completePlan(SequencePlan& plan, const CaptureOptions& options);

/// The options of a step's images, as if they had been typed for `snap`.
CaptureOptions stepOptions(const SequencePlan& plan, const StepPlan& step,
                           const CaptureOptions& options);

/// "light Ha 300 s", for messages.
std::string stepText(const StepPlan& step);

}  // namespace orvik::ctl
