// SPDX-License-Identifier: MIT
#include "tools/orvikctl/virtual_cameras.h"

#include "orvik/orvik_sim.h"
#include "tools/orvikctl/failure.h"

namespace orvik::ctl {
namespace {

[[noreturn]] void failPlug(const std::string& description) {
  std::string models;
  for (int position = 0; const char* model = OrvikSimModel(position); ++position) {
    models += std::string(models.empty() ? "" : " ") + model;
  }
  throw Failure(ExitCode::kUsage,
                "--sim " + description + ": " + OrvikSimLastError() + "\nModels: " + models);
}

}  // namespace

VirtualCameras::~VirtualCameras() {
  if (any_) OrvikSimUnplugAll();
}

void VirtualCameras::plug(const std::string& description) {
  const std::size_t comma = description.find(',');
  const std::string model = description.substr(0, comma);
  const std::string options = comma == std::string::npos ? "" : description.substr(comma + 1);
  if (OrvikSimPlug(model.c_str(), options.c_str()) < 0) failPlug(description);
  any_ = true;
}

std::vector<std::string> VirtualCameras::ports() const {
  std::vector<std::string> ports;
  if (!any_) return ports;
  std::vector<Orvik_SIM_CAMERA> cameras(static_cast<std::size_t>(OrvikSimList(nullptr, 0)));
  OrvikSimList(cameras.data(), static_cast<int>(cameras.size()));
  for (const Orvik_SIM_CAMERA& camera : cameras) {
    ports.push_back(std::to_string(camera.bus) + "-" + std::to_string(camera.port));
  }
  return ports;
}

}  // namespace orvik::ctl
