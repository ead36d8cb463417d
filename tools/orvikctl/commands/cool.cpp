// SPDX-License-Identifier: MIT
#include <cmath>
#include <iostream>
#include <memory>
#include <optional>

#include "imaging/cooling.h"
#include "tools/orvikctl/camera_choice.h"
#include "tools/orvikctl/capture/sensor_cooling.h"
#include "tools/orvikctl/commands/commands.h"
#include "tools/orvikctl/cooling_display.h"
#include "tools/orvikctl/help_text.h"
#include "tools/orvikctl/interrupt.h"
#include "tools/orvikctl/json.h"
#include "tools/orvikctl/time_option.h"

namespace orvik::ctl {
namespace {

constexpr double kNear = 1;  // degrees: as close as the regulation holds a temperature

struct CoolOptions : CommonOptions {
  int target = 0;
  double rate = kDefaultRamp;
  std::string duration;
  std::string every = "10s";
  bool noWarmUp = false;
};

Json resultOf(const imaging::Cooling& cooling, int target, const imaging::CoolingSample& coldest) {
  return {{"start", cooling.startedAt()},
          {"target", target},
          {"temperature", coldest.temperature},
          {"power", coldest.power},
          {"reached", coldest.fault == Orvik_COOLER_NO_FAULT &&
                          std::abs(coldest.temperature - target) <= kNear},
          {"fault", faultText(coldest.fault)},
          {"end", cooling.last().temperature},
          {"seconds", std::round(cooling.last().seconds)}};
}

ExitCode cool(const CoolOptions& options) {
  std::optional<double> duration;
  if (!options.duration.empty()) duration = secondsOption(options.duration, "--duration");
  CoolingDisplay display(options.json, secondsOption(options.every, "--every"));
  const ConnectedCameras cameras(options.virtualCameras);
  Camera camera = openCamera(cameras.choose(options.camera));
  requireTarget(camera, options.target);

  CoolerFaultNotes faults;
  imaging::Cooling cooling(camera, [&](const imaging::CoolingSample& sample) {
    faults.note(sample.fault);
    display.show(sample);
  });
  bool complete = cooling.lead(options.target, options.rate, duration, interruption());
  const imaging::CoolingSample held = cooling.last();
  if (!options.noWarmUp) {
    catchInterrupts();  // the first Ctrl-C has asked for this
    std::cerr << "warming up; Ctrl-C ends at once\n";
    complete = cooling.warmUp(options.rate, interruption()) && complete;
  }
  if (options.json) std::cout << resultOf(cooling, options.target, held).dump(2) << '\n';
  return complete ? ExitCode::kOk : ExitCode::kInterrupted;
}

}  // namespace

Command addCool(CLI::App& program) {
  auto options = std::make_shared<CoolOptions>();
  CLI::App* app = program.add_subcommand(
      "cool", "Cool the sensor at a steady rate, hold it, and warm it up again");
  app->add_option("--target", options->target, "Temperature to hold")
      ->type_name("DEGC")
      ->required();
  app->add_option("--rate", options->rate, "Degrees a minute, down and up [3]")
      ->check(unmentioned(CLI::Range(0.1, 60.0)))
      ->type_name("DEGC");
  app->add_option("--duration", options->duration,
                  "When to begin to warm up, counted from the start; without it, at Ctrl-C")
      ->type_name("TIME");
  app->add_flag("--no-warm-up", options->noWarmUp,
                "End without warming up slowly: the power goes off at once");
  app->add_option("--every", options->every,
                  "How often to write a line where there is no terminal [10s]")
      ->type_name("TIME");
  addCommonOptions(*app, *options, Scope::kOneCamera);
  app->footer(
      "The cooler works while this command runs; whatever ends it takes the power away. `snap`,\n"
      "`video` and `sequence` cool by themselves: see their --cool.\n"
      "\n"
      "Examples:\n"
      "  orvikctl cool --target -10 --rate 2\n"
      "  orvikctl cool --target -10 --duration 20min --every 1min > cooling.txt\n"
      "  orvikctl cool --sim T13C_C --target 5 --rate 20");
  return {app, [options] { return cool(*options); }};
}

}  // namespace orvik::ctl
