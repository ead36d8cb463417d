// SPDX-License-Identifier: MIT
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "orvik/orvik_service.h"
#include "tools/orvikctl/camera_choice.h"
#include "tools/orvikctl/commands/commands.h"
#include "tools/orvikctl/commands/group.h"
#include "tools/orvikctl/defaults.h"
#include "tools/orvikctl/json.h"

namespace orvik::ctl {
namespace {

/// Where the settings of the cameras in use are kept: real ones or virtual ones.
std::string fileName() {
  Orvik_SETTINGS_PLACE place{};
  return OrvikGetSettingsPlace(&place) == Orvik_OK ? place.file : "";
}

struct ChangedControl {
  Control control;
  ControlValue now;
};

/// The controls that differ from those of a new camera.
std::vector<ChangedControl> changedControls(const Camera& camera) {
  std::vector<ChangedControl> changed;
  for (const Control& control : camera.controls()) {
    if (!control.isWritable()) continue;
    const auto now = valueIfAny(camera, control.type());
    if (now && !isAsNew(control, *now)) changed.push_back({control, *now});
  }
  return changed;
}

Json jsonOf(const std::vector<ChangedControl>& changed) {
  Json list = Json::array();
  for (const auto& [control, now] : changed) list.push_back(controlJson(control, now));
  return list;
}

ExitCode show(const CommonOptions& options) {
  const ConnectedCameras cameras(options.virtualCameras);
  const ConnectedCamera& chosen = cameras.choose(options.camera);
  const Camera camera = openCamera(chosen);
  const std::vector<ChangedControl> changed = changedControls(camera);
  const Orvik_DARK_INFO dark = camera.dark().info();
  const Orvik_HOT_PIXEL_INFO hotPixels = camera.hotPixels().info();
  const std::string file = fileName();
  if (options.json) {
    const Json result = {
        {"camera", chosen.label()},
        {"file", file.empty() ? Json() : Json(file)},
        {"changed", jsonOf(changed)},
        {"dark", dark.inUse == Orvik_TRUE ? Json(dark.path) : Json()},
        {"hotPixelsMended", hotPixels.isOn == Orvik_TRUE ? hotPixels.onSensor : 0}};
    std::cout << result.dump(2) << '\n';
    return ExitCode::kOk;
  }
  std::cout << chosen.label() << " comes up with:\n";
  for (const auto& [control, now] : changed) {
    std::cout << "  " << assignmentText(control, now) << "  (new: " << control.defaultValue()
              << ")\n";
  }
  if (dark.inUse == Orvik_TRUE) {
    std::cout << "  dark frame " << dark.path << ", subtracted from 8-bit images\n";
  }
  if (hotPixels.isOn == Orvik_TRUE) {
    std::cout << "  " << hotPixels.onSensor << " hot pixels mended, from the camera's flash\n";
  }
  std::cout << (changed.empty() ? "  the settings of a new camera\n" : "");
  if (!file.empty()) std::cout << "kept in " << file << '\n';
  return ExitCode::kOk;
}

ExitCode reset(const CommonOptions& options) {
  const ConnectedCameras cameras(options.virtualCameras);
  const ConnectedCamera& chosen = cameras.choose(options.camera);
  Camera camera = openCamera(chosen);
  camera.resetSettings();
  camera.saveSettings();
  if (!options.json) std::cout << chosen.label() << " has the settings of a new camera\n";
  return ExitCode::kOk;
}

ExitCode forget(const CommonOptions& options) {
  const ConnectedCameras cameras(options.virtualCameras);
  const ConnectedCamera& chosen = cameras.choose(options.camera);
  openCamera(chosen).forgetSettings();
  if (!options.json) std::cout << "nothing is kept for " << chosen.label() << " and its model\n";
  return ExitCode::kOk;
}

}  // namespace

Command addSettings(CLI::App& program) {
  CLI::App* group =
      addGroup(program, "settings", "What a camera comes up with: show it, reset it, delete it");
  std::vector<Command> members;
  const auto add = [&](const char* name, const char* what, ExitCode (*work)(const CommonOptions&)) {
    auto options = std::make_shared<CommonOptions>();
    CLI::App* app = group->add_subcommand(name, what);
    addCommonOptions(*app, *options, Scope::kOneCamera);
    members.push_back({app, [options, work] { return work(*options); }});
  };
  add("show", "Show what differs from a new camera, and where it is kept", show);
  add("reset", "Give all controls the values of a new camera", reset);
  add("forget", "Delete what is kept for this camera and for its model", forget);
  group->footer(
      "A camera comes up with the settings that it was left with: its own, or those of the last\n"
      "camera of its model if nothing was kept for it yet.");
  return groupCommand(group, std::move(members));
}

}  // namespace orvik::ctl
