// SPDX-License-Identifier: MIT
#include "tools/orvikctl/capture/cooling_options.h"

#include "tools/orvikctl/help_text.h"
#include "tools/orvikctl/units.h"

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
  app.add_option_function<std::string>(
         "--settle",
         [&options](const std::string& time) {
           options.settles = true;
           options.settle = time;
         },
         "Begin only when the temperature has held for this time [60s]: always within 1 degC, and "
         "0.5 degC on average")
      ->expected(0, 1)
      ->type_name("[TIME]")
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
  if (!options.settle.empty()) {
    const auto time = parseDuration(options.settle);
    if (!time || *time == 0) {
      throw Failure(ExitCode::kUsage,
                    "--settle " + options.settle + ": give a time such as 60s or 5min.");
    }
    plan.settle = static_cast<double>(*time) / 1e6;
  }
  return plan;
}

}  // namespace orvik::ctl
