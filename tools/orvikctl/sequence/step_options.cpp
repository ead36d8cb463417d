// SPDX-License-Identifier: MIT
#include "tools/orvikctl/sequence/step_options.h"

#include "imaging/time_text.h"
#include "tools/orvikctl/units.h"

namespace orvik::ctl {
namespace {

void fill(std::string& text, const std::string& other) {
  if (text.empty()) text = other;
}

std::optional<int> typedNumber(const CaptureOptions& options, Orvik_CONTROL_TYPE type) {
  const auto given = options.controls.find(type);
  return given == options.controls.end() ? std::nullopt : parseInteger(given->second);
}

}  // namespace

void completePlan(SequencePlan& plan, const CaptureOptions& options) {
  fill(plan.object, options.object);
  fill(plan.observer, options.observer);
  fill(plan.telescope, options.telescope);
  if (options.cooling.target) plan.cooling = options.cooling;
  for (StepPlan& step : plan.steps) {
    if (!step.gain) step.gain = typedNumber(options, Orvik_CTL_GAIN);
    if (!step.offset) step.offset = typedNumber(options, Orvik_CTL_BRIGHTNESS);
    if (!step.bin) step.bin = options.bin;
    fill(step.type, options.type);
    fill(step.region, options.region);
  }
}

CaptureOptions stepOptions(const SequencePlan& plan, const StepPlan& step,
                           const CaptureOptions& options) {
  CaptureOptions result = options;
  if (step.exposure) {
    result.controls[Orvik_CTL_EXPOSURE] = std::to_string(step.exposure->count()) + "us";
  }
  if (step.gain) result.controls[Orvik_CTL_GAIN] = std::to_string(*step.gain);
  if (step.offset) result.controls[Orvik_CTL_BRIGHTNESS] = std::to_string(*step.offset);
  result.bin = step.bin.value_or(1);
  result.type = step.type;
  result.region = step.region;
  result.frameKind = step.kind;
  result.filter = step.filter;
  result.object = plan.object;
  result.observer = plan.observer;
  result.telescope = plan.telescope;
  result.cooling = plan.cooling;
  return result;
}

std::string stepText(const StepPlan& step) {
  std::string text = step.kind;
  if (!step.filter.empty()) text += " " + step.filter;
  if (step.exposure) return text + " " + imaging::formatDuration(step.exposure->count());
  return text + " of " + fixedText(100 * step.flat.value_or(FlatTarget{}).level, 0) + " %";
}

}  // namespace orvik::ctl
