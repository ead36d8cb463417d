// SPDX-License-Identifier: MIT
#include <iostream>
#include <memory>

#include "orvik/orvik_service.h"
#include "tools/orvikctl/camera_choice.h"
#include "tools/orvikctl/commands/commands.h"
#include "tools/orvikctl/exit_code.h"
#include "tools/orvikctl/json.h"

namespace orvik::ctl {
namespace {

constexpr const char* kKept =
    "A camera comes up with the settings that it was left with, but for exposures above 0.1 s, "
    "which come up as 0.1 s, and the cooler, which comes up switched off. Cameras with a serial "
    "number are told apart. Virtual cameras have settings of their own. `orvikctl settings` shows, "
    "resets and deletes them.";

struct SetOptions : CommonOptions {
  std::vector<std::string> assignments;
};

struct Assignment {
  const Control* control;
  ControlValue value;
};

Assignment parseAssignment(const Camera& camera, const std::string& text) {
  const std::size_t equals = text.find('=');
  if (equals == std::string::npos) {
    throw Failure(ExitCode::kUsage, text + ": write NAME=VALUE, as in Gain=200 or Exposure=20ms.");
  }
  const Control& control = findControl(camera, text.substr(0, equals));
  return {&control, parseControlValue(camera, control, std::string_view(text).substr(equals + 1))};
}

ExitCode set(const SetOptions& options) {
  const ConnectedCameras cameras(options.virtualCameras);
  Camera camera = openCamera(cameras.choose(options.camera));
  // All are understood before the first is set: a mistake changes nothing.
  std::vector<Assignment> assignments;
  for (const std::string& text : options.assignments) {
    assignments.push_back(parseAssignment(camera, text));
  }
  Json list = Json::array();
  for (const auto& [control, value] : assignments) {
    camera.write(control->type(), value);
    const ControlValue now = camera.read(control->type());
    if (options.json) {
      list.push_back(controlJson(*control, now));
    } else {
      std::cout << assignmentText(*control, now) << '\n';
    }
  }
  camera.saveSettings();
  if (options.json) std::cout << list.dump(2) << '\n';
  return ExitCode::kOk;
}

}  // namespace

Command addSet(CLI::App& program) {
  auto options = std::make_shared<SetOptions>();
  CLI::App* app =
      program.add_subcommand("set", "Set controls and print what the camera made of them");
  app->add_option("settings", options->assignments,
                  "For example Gain=200, Exposure=2.5s, Exposure=20ms:auto, Gain=auto. Exposures "
                  "take a unit: us, ms, s, min. Units of the others: see `orvikctl controls`")
      ->type_name("NAME=VALUE[:auto]")
      ->required();
  addCommonOptions(*app, *options, Scope::kOneCamera);
  app->footer(kKept);
  return {app, [options] { return set(*options); }};
}

}  // namespace orvik::ctl
