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
  for (const Orvik_CONTROL_CAPS& caps : camera.controls()) {
    const auto now = camera.valueIfAny(caps.controlType);
    std::string automatic = caps.autoSupported == Orvik_TRUE ? "off" : "-";
    if (now && now->isAuto) automatic = "on";
    std::string description = caps.description;
    if (caps.writable == Orvik_FALSE) description += " (read only)";
    table.add({caps.name, now ? std::to_string(now->value) : "?", std::to_string(caps.minValue),
               std::to_string(caps.maxValue), std::to_string(caps.defaultValue),
               std::string(controlFacts(caps.controlType).unit), automatic, description});
  }
  table.print(std::cout);
}

ExitCode controls(const CommonOptions& options) {
  const ConnectedCameras cameras(options.virtualCameras);
  const Camera camera(cameras.choose(options.camera));
  if (!options.json) {
    printTable(camera);
    return ExitCode::kOk;
  }
  Json list = Json::array();
  for (const Orvik_CONTROL_CAPS& caps : camera.controls()) {
    list.push_back(controlJson(caps, camera.valueIfAny(caps.controlType)));
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
