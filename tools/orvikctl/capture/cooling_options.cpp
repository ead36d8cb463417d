// SPDX-License-Identifier: MIT
#include "tools/orvikctl/capture/cooling_options.h"

#include "tools/orvikctl/help_text.h"
#include "tools/orvikctl/time_option.h"

namespace orvik::ctl {

void addCoolingOptions(CLI::App& app, CoolingOptions& options) {
  const auto* group = "Cooling";
  CLI::Option* const cool =
      app.add_option("--cool", options.target,
                     "Cool the sensor to this temperature before the first image, hold it, and "
                     "warm up again at the end, also after an error or Ctrl-C. Begins when the "
                     "temperature is within 1 degC")
          ->type_name("DEGC")
          ->group(group);
  app.add_option("--ramp", options.ramp, "Degrees a minute, down and up [3]")
      ->check(unmentioned(CLI::Range(0.1, 60.0)))
      ->type_name("DEGC")
      ->needs(cool)
      ->group(group);
  app.add_flag("--settle", options.settles,
               "Begin only when the temperature has held for a minute: always within 1 degC, and "
               "0.5 degC on average")
      ->needs(cool)
      ->group(group);
  app.add_option("--settle-time", options.settle, "The same for another time than a minute")
      ->type_name("TIME")
      ->needs(cool)
      ->group(group);
  app.add_flag("--keep-cold,--no-warm-up", options.keepCold,
               "End without warming up slowly, because another capture follows at once. Closing "
               "the camera takes the cooler's power away, so the sensor warms up by itself")
      ->needs(cool)
      ->group(group);
}

std::optional<CoolingPlan> coolingPlanOf(const CoolingOptions& options) {
  if (!options.target) return std::nullopt;
  CoolingPlan plan{*options.target, options.ramp.value_or(kDefaultRamp), std::nullopt,
                   options.keepCold};
  if (options.settles) plan.settle = kDefaultSettle;
  if (!options.settle.empty()) plan.settle = secondsOption(options.settle, "--settle-time");
  return plan;
}

}  // namespace orvik::ctl
