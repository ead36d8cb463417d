// SPDX-License-Identifier: MIT
#include <algorithm>
#include <chrono>
#include <cmath>
#include <iostream>
#include <memory>
#include <optional>
#include <thread>

#include "tools/orvikctl/camera_choice.h"
#include "tools/orvikctl/commands/commands.h"
#include "tools/orvikctl/cooling_display.h"
#include "tools/orvikctl/cooling_ramp.h"
#include "tools/orvikctl/help_text.h"
#include "tools/orvikctl/interrupt.h"
#include "tools/orvikctl/json.h"
#include "tools/orvikctl/units.h"

namespace orvik::ctl {
namespace {

using Clock = std::chrono::steady_clock;

constexpr double kTickSeconds = 1;
constexpr auto kInterruptPause = std::chrono::milliseconds(50);
constexpr double kNear = 1;  // degrees: as close as the regulation holds a temperature

struct CoolOptions : CommonOptions {
  int target = 0;
  double rate = 3;
  std::string duration;
  std::string every = "10s";
  bool noWarmUp = false;
};

/// @throws Failure (kUsage) naming the option
double secondsOf(const std::string& text, const char* option) {
  const auto microseconds = parseDuration(text);
  if (microseconds && *microseconds > 0) return static_cast<double>(*microseconds) / 1e6;
  throw Failure(ExitCode::kUsage,
                std::string(option) + " " + text + ": give a time such as 90s or 20min.");
}

/// Moves a camera's temperature along ramps. The destructor switches the cooler off.
class Cooling {
 public:
  Cooling(Camera& camera, CoolingDisplay& display)
      : camera_(camera), display_(display), begun_(Clock::now()), startedAt_(temperature()) {}
  ~Cooling() {
    try {
      camera_.setValue(Orvik_CTL_COOLER_ON, {0, false});
    } catch (const Failure&) {
      // Closing the camera switches the cooler off as well.
    }
  }
  Cooling(const Cooling&) = delete;
  Cooling& operator=(const Cooling&) = delete;

  /// Moves from the sensor's temperature to `to`, and holds it.
  ///
  /// @param seconds when to end; nothing for never
  /// @return false when the user interrupted
  bool lead(double to, double degreesPerMinute, std::optional<double> seconds) {
    const CoolingRamp ramp(lastTemperature(), to, degreesPerMinute);
    const auto begun = Clock::now();
    for (;;) {
      const double gone = std::chrono::duration<double>(Clock::now() - begun).count();
      follow(ramp.targetAt(gone));
      if (seconds && gone >= *seconds) return true;
      if (!pause(seconds ? *seconds - gone : kTickSeconds)) return false;
    }
  }

  /// Moves back to the temperature before cooling. False if the user interrupted.
  bool warmUp(double degreesPerMinute) {
    const CoolingRamp ramp(lastTemperature(), startedAt_, degreesPerMinute);
    return lead(startedAt_, degreesPerMinute, ramp.duration());
  }

  [[nodiscard]] double startedAt() const { return startedAt_; }
  [[nodiscard]] const CoolingSample& last() const { return last_; }

 private:
  [[nodiscard]] double temperature() const {
    return camera_.value(Orvik_CTL_TEMPERATURE).value / 10.0;
  }
  /// Warming up begins at the last temperature that could be read.
  [[nodiscard]] double lastTemperature() const { return camera_.coolerStatus().temperature / 10.0; }

  void follow(int target) {
    if (!target_ || *target_ != target) {
      camera_.setValue(Orvik_CTL_TARGET_TEMP, {target, false});
      if (!target_) camera_.setValue(Orvik_CTL_COOLER_ON, {1, false});
      target_ = target;
    }
    const Orvik_COOLER_STATUS status = camera_.coolerStatus();
    tellFault(status.fault);
    last_ = {.seconds = std::chrono::duration<double>(Clock::now() - begun_).count(),
             .temperature = status.temperature / 10.0,
             .target = target,
             .power = status.power,
             .fault = status.fault};
    display_.show(last_);
  }

  /// Reports a fault once when it begins and once when it ends.
  void tellFault(Orvik_COOLER_FAULT fault) const {
    if (fault == last_.fault) return;
    if (fault == Orvik_COOLER_NO_FAULT) {
      std::cerr << "the temperature can be read again: cooling goes on\n";
    } else {
      std::cerr << "no cooling: " << faultText(fault) << "; the power has been taken away\n";
    }
  }

  /// Waits until the next reading is due, or for `most` seconds. False if the user interrupted.
  static bool pause(double most) {
    const std::chrono::duration<double> length(std::min(most, kTickSeconds));
    const auto end = Clock::now() + std::chrono::duration_cast<Clock::duration>(length);
    while (Clock::now() < end) {
      if (interrupted()) return false;
      std::this_thread::sleep_for(std::min<Clock::duration>(kInterruptPause, end - Clock::now()));
    }
    return !interrupted();
  }

  Camera& camera_;
  CoolingDisplay& display_;
  Clock::time_point begun_;
  double startedAt_;
  std::optional<int> target_;
  CoolingSample last_;
};

void checkTarget(const Camera& camera, int target) {
  const Orvik_CONTROL_CAPS* caps = camera.control(Orvik_CTL_TARGET_TEMP);
  if (caps == nullptr) throw Failure(ExitCode::kUsage, "this camera has no cooler.");
  if (target < caps->minValue || target > caps->maxValue) {
    throw Failure(ExitCode::kUsage, "this camera's cooler takes targets from " +
                                        std::to_string(caps->minValue) + " to " +
                                        std::to_string(caps->maxValue) + " degC.");
  }
}

Json resultOf(const Cooling& cooling, int target, const CoolingSample& coldest) {
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
  if (!options.duration.empty()) duration = secondsOf(options.duration, "--duration");
  CoolingDisplay display(options.json, secondsOf(options.every, "--every"));
  const ConnectedCameras cameras(options.virtualCameras);
  Camera camera(cameras.choose(options.camera));
  checkTarget(camera, options.target);

  Cooling cooling(camera, display);
  bool complete = cooling.lead(options.target, options.rate, duration);
  const CoolingSample held = cooling.last();
  if (!options.noWarmUp) {
    std::cerr << "warming up; Ctrl-C ends at once\n";
    catchInterrupts();  // the first Ctrl-C has asked for this
    complete = cooling.warmUp(options.rate) && complete;
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
      "The cooler works while this command runs; whatever ends it takes the power away. Programs\n"
      "that capture cool by themselves: see `TargetTemp` and `Cooler on` in `orvikctl controls`.\n"
      "\n"
      "Examples:\n"
      "  orvikctl cool --target -10 --rate 2\n"
      "  orvikctl cool --target -10 --duration 20min --every 1min > cooling.txt\n"
      "  orvikctl cool --sim T13C_C --target 5 --rate 20");
  return {app, [options] { return cool(*options); }};
}

}  // namespace orvik::ctl
