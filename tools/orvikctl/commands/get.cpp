// SPDX-License-Identifier: MIT
#include <iostream>
#include <memory>

#include "tools/orvikctl/camera_choice.h"
#include "tools/orvikctl/commands/commands.h"
#include "tools/orvikctl/json.h"

namespace orvik::ctl {
namespace {

struct GetOptions : CommonOptions {
  std::vector<std::string> names;
};

ExitCode get(const GetOptions& options) {
  const ConnectedCameras cameras(options.virtualCameras);
  const Camera camera = openCamera(cameras.choose(options.camera));
  std::vector<const Control*> wanted;
  for (const std::string& name : options.names) wanted.push_back(&findControl(camera, name));
  Json list = Json::array();
  for (const Control* control : wanted) {
    const ControlValue now = camera.read(control->type());
    if (options.json) {
      list.push_back(controlJson(*control, now));
    } else {
      std::cout << assignmentText(*control, now) << '\n';
    }
  }
  if (options.json) std::cout << list.dump(2) << '\n';
  return ExitCode::kOk;
}

}  // namespace

Command addGet(CLI::App& program) {
  auto options = std::make_shared<GetOptions>();
  CLI::App* app = program.add_subcommand(
      "get", "Read controls: NAME=VALUE, one a line, in the form that `set` takes");
  app->add_option("names", options->names, "Names from `orvikctl controls`, in any case")
      ->type_name("NAME")
      ->required();
  addCommonOptions(*app, *options, Scope::kOneCamera);
  return {app, [options] { return get(*options); }};
}

}  // namespace orvik::ctl
