// SPDX-License-Identifier: MIT
#include <cstdint>
#include <iostream>
#include <memory>

#include "orvik/orvik_service.h"
#include "tools/orvikctl/camera_choice.h"
#include "tools/orvikctl/commands/commands.h"
#include "tools/orvikctl/help_text.h"
#include "tools/orvikctl/interrupt.h"
#include "tools/orvikctl/json.h"
#include "tools/orvikctl/units.h"

namespace orvik::ctl {
namespace {

constexpr int kLastLine = 3;

struct GuideOptions : CommonOptions {
  int line = 0;
  std::string length;
};

/// Milliseconds.
int pulseLength(const std::string& text) {
  const std::int64_t milliseconds = parseDuration(text).value_or(0) / 1000;
  if (milliseconds < 1 || milliseconds > ORVIK_MAX_PULSE_MS) {
    throw Failure(ExitCode::kUsage, text + ": give a pulse of 1 to " +
                                        std::to_string(ORVIK_MAX_PULSE_MS) +
                                        " milliseconds with its unit, such as 500ms or 2s.");
  }
  return static_cast<int>(milliseconds);
}

ExitCode guide(const GuideOptions& options) {
  const int milliseconds = pulseLength(options.length);
  const ConnectedCameras cameras(options.virtualCameras);
  Camera camera = openCamera(cameras.choose(options.camera));
  // A mount that runs the wrong way is to stop at once, not at the end of a long pulse.
  camera.pulse(GuideD{options.line}, std::chrono::milliseconds(milliseconds), interruption());
  const bool complete = !interrupted();
  if (options.json) {
    const Json result = {
        {"line", options.line}, {"milliseconds", milliseconds}, {"complete", complete}};
    std::cout << result.dump(2) << '\n';
  } else {
    std::cout << "guide line " << options.line
              << (complete ? " was on for " + std::to_string(milliseconds) + " ms" : " is off")
              << '\n';
  }
  return complete ? ExitCode::kOk : ExitCode::kInterrupted;
}

}  // namespace

Command addGuide(CLI::App& program) {
  auto options = std::make_shared<GuideOptions>();
  CLI::App* app = program.add_subcommand("guide", "Give a pulse on a line of the guide port");
  app->add_option("line", options->line,
                  "Guide line, 0 to 3. Which one moves the mount where depends on its cable; try "
                  "each with a short pulse")
      ->check(unmentioned(CLI::Range(0, kLastLine)))
      ->type_name("LINE")
      ->required();
  app->add_option("length", options->length, "Length of the pulse: 500ms, 2s")
      ->type_name("TIME")
      ->required();
  addCommonOptions(*app, *options, Scope::kOneCamera);
  app->footer("Ctrl-C switches the line off at once.");
  return {app, [options] { return guide(*options); }};
}

}  // namespace orvik::ctl
