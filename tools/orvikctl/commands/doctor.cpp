// SPDX-License-Identifier: MIT
#include <iostream>
#include <memory>

#include "tools/orvikctl/commands/commands.h"
#include "tools/orvikctl/doctor/diagnose.h"
#include "tools/orvikctl/json.h"

namespace orvik::ctl {
namespace {

using doctor::CameraFacts;
using doctor::Finding;
using doctor::MachineFacts;

struct DoctorOptions {
  std::string root = "/";
  bool json = false;
};

void printJson(const MachineFacts& machine, const std::vector<Finding>& findings) {
  Json cameras = Json::array();
  for (const CameraFacts& camera : machine.cameras) {
    cameras.push_back({{"name", camera.name}, {"port", camera.port}, {"file", camera.file}});
  }
  Json list = Json::array();
  for (const Finding& finding : findings) {
    list.push_back({{"id", finding.id}, {"what", finding.what}, {"fix", finding.fix}});
  }
  const Json result = {{"cameras", std::move(cameras)}, {"findings", std::move(list)}};
  std::cout << result.dump(2) << '\n';
}

void printText(const MachineFacts& machine, const std::vector<Finding>& findings) {
  for (const CameraFacts& camera : machine.cameras) {
    std::cout << camera.name << " on port " << camera.port << '\n';
  }
  if (machine.cameras.empty()) {
    std::cout << "No camera is connected. If one is plugged in, try another cable and another "
                 "port.\n";
  }
  for (const Finding& finding : findings) {
    std::cout << "\n* " << finding.what << "\n  " << finding.fix << '\n';
  }
  if (findings.empty()) std::cout << "Nothing is wrong with this machine.\n";
}

ExitCode examine(const DoctorOptions& options) {
  const MachineFacts machine = doctor::readMachine(options.root, doctor::knownProducts());
  const std::vector<Finding> findings = doctor::diagnose(machine);
  if (options.json) {
    printJson(machine, findings);
  } else {
    printText(machine, findings);
  }
  if (!findings.empty()) return ExitCode::kFindings;
  return machine.cameras.empty() ? ExitCode::kNoCamera : ExitCode::kOk;
}

}  // namespace

Command addDoctor(CLI::App& program) {
  auto options = std::make_shared<DoctorOptions>();
  CLI::App* app = program.add_subcommand(
      "doctor", "Find out why a camera does not work, or not as fast as it could");
  app->add_option("--root", options->root,
                  "Examine the /sys, /proc, /dev, /etc and /usr below this folder")
      ->type_name("FOLDER");
  app->add_flag("--json", options->json, "Write the result as JSON");
  app->footer(
      "It looks at the system, opens no camera, and changes nothing. Run it with sudo to see\n"
      "programs of other users as well.\n"
      "\n"
      "The exit code is 1 when something was found, 3 when there is no camera, else 0.");
  return {app, [options] { return examine(*options); }};
}

}  // namespace orvik::ctl
