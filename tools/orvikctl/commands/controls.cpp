// SPDX-License-Identifier: MIT
#include <iostream>
#include <memory>

#include "tools/orvikctl/camera_choice.h"
#include "tools/orvikctl/commands/commands.h"
#include "tools/orvikctl/control_names.h"
#include "tools/orvikctl/json.h"
#include "tools/orvikctl/table.h"

namespace orvik::ctl {
namespace {

void printTable(const Camera& camera) {
  Table table({"NAME", "VALUE", "MIN", "MAX", "DEFAULT", "UNIT", "AUTO", "DESCRIPTION"});
  for (const Control& control : camera.controls()) {
    const auto now = valueIfAny(camera, control.type());
    std::string automatic = control.hasAuto() ? "off" : "-";
    if (now && now->isAuto) automatic = "on";
    std::string description(control.description());
    if (!control.isWritable()) description += " (read only)";
    table.add({std::string(control.name()), now ? std::to_string(now->value) : "?",
               std::to_string(control.min()), std::to_string(control.max()),
               std::to_string(control.defaultValue()),
               std::string(controlFacts(control.type()).unit), automatic, description});
  }
  table.print(std::cout);
}

ExitCode controls(const CommonOptions& options) {
  const ConnectedCameras cameras(options.virtualCameras);
  const Camera camera = openCamera(cameras.choose(options.camera));
  if (!options.json) {
    printTable(camera);
    return ExitCode::kOk;
  }
  Json list = Json::array();
  for (const Control& control : camera.controls()) {
    list.push_back(controlJson(control, valueIfAny(camera, control.type())));
  }
  std::cout << list.dump(2) << '\n';
  return ExitCode::kOk;
}

}  // namespace

Command addControls(CLI::App& program) {
  auto options = std::make_shared<CommonOptions>();
  CLI::App* app = program.add_subcommand(
      "controls", "Show a camera's controls: values, limits, units, automatic modes");
  addCommonOptions(*app, *options, Scope::kOneCamera);
  return {app, [options] { return controls(*options); }};
}

}  // namespace orvik::ctl
