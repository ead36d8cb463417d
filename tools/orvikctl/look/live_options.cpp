// SPDX-License-Identifier: MIT
#include "tools/orvikctl/look/live_options.h"

#include <limits>

#include "tools/orvikctl/control_facts.h"
#include "tools/orvikctl/failure.h"
#include "tools/orvikctl/help_text.h"
#include "tools/orvikctl/time_option.h"
#include "tools/orvikctl/units.h"

namespace orvik::ctl {

void addLiveOptions(CLI::App& app, LiveOptions& options) {
  const auto* group = "Camera";
  for (const Orvik_CONTROL_TYPE type : {Orvik_CTL_EXPOSURE, Orvik_CTL_GAIN}) {
    const ControlOption option = controlFacts(type).option;
    app.add_option(option.name, options.controls[type], option.description)
        ->type_name(option.typeName)
        ->group(group);
  }
  addRegionOptions(app, options, group);
  app.add_option("-n,--count", options.count, "End after so many frames")
      ->check(unmentioned(
          CLI::Range(std::int64_t{1}, std::int64_t{std::numeric_limits<std::int32_t>::max()})))
      ->type_name("N")
      ->group(group);
  app.add_option("--duration", options.duration, "End after a time: 90s, 10min [at Ctrl-C]")
      ->type_name("TIME")
      ->group(group);
  app.add_flag("--defaults", options.startFromDefaults,
               "Begin with the model's defaults instead of the settings that the camera was left "
               "with")
      ->group(group);
  addCommonOptions(app, options, Scope::kOneCamera);
}

std::optional<std::chrono::microseconds> durationOf(const LiveOptions& options) {
  if (options.duration.empty()) return std::nullopt;
  return timeOption(options.duration, "--duration");
}

CaptureKind kindOf(const LiveOptions& options) {
  constexpr std::int64_t kLongUs = 1'000'000;
  const auto given = options.controls.find(Orvik_CTL_EXPOSURE);
  const auto exposure =
      given == options.controls.end() ? std::nullopt : parseDuration(given->second);
  return exposure && *exposure >= kLongUs ? CaptureKind::kImages : CaptureKind::kVideo;
}

}  // namespace orvik::ctl
