// SPDX-License-Identifier: MIT
#include <iostream>
#include <memory>

#include "tools/orvikctl/camera_choice.h"
#include "tools/orvikctl/commands/commands.h"
#include "tools/orvikctl/json.h"

namespace orvik::ctl {
namespace {

constexpr const char* kNotKept =
    "These settings end with this command: the library keeps a camera's settings at the end of a "
    "capture only. To keep and capture with them, give them to `snap` or `video`.";

struct SetOptions : CommonOptions {
  std::vector<std::string> assignments;
};

struct Assignment {
  const Orvik_CONTROL_CAPS* caps;
  ControlValue value;
};

Assignment parseAssignment(const Camera& camera, const std::string& text) {
  const size_t equals = text.find('=');
  if (equals == std::string::npos) {
    throw Failure(ExitCode::kUsage, text + ": write NAME=VALUE, as in Gain=200 or Exposure=20ms.");
  }
  const Orvik_CONTROL_CAPS& caps = findControl(camera, text.substr(0, equals));
  return {&caps, parseControlValue(camera, caps, std::string_view(text).substr(equals + 1))};
}

ExitCode set(const SetOptions& options) {
  const ConnectedCameras cameras(options.virtualCameras);
  Camera camera(cameras.choose(options.camera).index);
  // All are understood before the first is set: a mistake changes nothing.
  std::vector<Assignment> assignments;
  for (const std::string& text : options.assignments) {
    assignments.push_back(parseAssignment(camera, text));
  }
  Json list = Json::array();
  for (const auto& [caps, value] : assignments) {
    camera.setValue(caps->controlType, value);
    const ControlValue now = camera.value(caps->controlType);
    if (options.json) {
      list.push_back(controlJson(*caps, now));
    } else {
      std::cout << caps->name << '=' << now.value << (now.isAuto ? ":auto" : "") << '\n';
    }
  }
  if (options.json) std::cout << list.dump(2) << '\n';
  std::cerr << "note: " << kNotKept << '\n';
  return ExitCode::kOk;
}

}  // namespace

Command addSet(CLI::App& program) {
  auto options = std::make_shared<SetOptions>();
  CLI::App* app =
      program.add_subcommand("set", "Set controls and print what the camera made of them");
  app->add_option("settings", options->assignments,
                  "For example Gain=200, Exposure=2.5s, Exposure=20ms:auto, Gain=auto. Exposures "
                  "take us, ms, s, min; a plain number counts microseconds. Other units: see "
                  "`orvikctl controls`")
      ->type_name("NAME=VALUE[:auto]")
      ->required();
  addCommonOptions(*app, *options, Scope::kOneCamera);
  app->footer(kNotKept);
  return {app, [options] { return set(*options); }};
}

}  // namespace orvik::ctl
