// SPDX-License-Identifier: MIT
#include "tools/orvikctl/virtual_cameras.h"

#include <algorithm>

#include "orvik/orvik.h"
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

Orvik_SIM_CAMERA recordOf(int id) {
  std::vector<Orvik_SIM_CAMERA> all(static_cast<size_t>(std::max(OrvikSimList(nullptr, 0), 0)));
  OrvikSimList(all.data(), static_cast<int>(all.size()));
  const auto found =
      std::find_if(all.begin(), all.end(), [id](const auto& camera) { return camera.id == id; });
  if (found == all.end()) throw Failure(ExitCode::kInternal, "a virtual camera has vanished");
  return *found;
}

}  // namespace

VirtualCameras::~VirtualCameras() {
  if (!byIndex_.empty()) OrvikSimUnplugAll();
}

void VirtualCameras::plug(const std::string& description) {
  const size_t comma = description.find(',');
  const std::string model = description.substr(0, comma);
  const std::string options = comma == std::string::npos ? "" : description.substr(comma + 1);
  const int id = OrvikSimPlug(model.c_str(), options.c_str());
  if (id < 0) failPlug(description);
  const Orvik_SIM_CAMERA record = recordOf(id);
  Plugged plugged{"", {record.bus, record.port, record.address}, record.serial};

  // The new camera stands where the list of names first differs, or elsewhere in the run of like
  // names around that place; cameras of one name are listed by where they are plugged in.
  const int count = OrvikGetNumOfConnectedCameras();
  size_t place = 0;
  while (place < byIndex_.size() && static_cast<int>(place) < count &&
         cameraName(static_cast<int>(place)) == byIndex_[place].name) {
    ++place;
  }
  plugged.name = cameraName(static_cast<int>(place));
  while (place > 0 && byIndex_[place - 1].name == plugged.name &&
         plugged.socket < byIndex_[place - 1].socket) {
    --place;
  }
  byIndex_.insert(byIndex_.begin() + static_cast<std::ptrdiff_t>(place), plugged);
}

std::string VirtualCameras::serialAt(int index) const {
  const auto place = static_cast<size_t>(index);
  return index >= 0 && place < byIndex_.size() ? byIndex_[place].serial : "";
}

std::string cameraName(int index) {
  Orvik_CAMERA_INFO info{};
  if (OrvikGetCameraProperty(&info, index) != Orvik_OK) return "unknown model";
  return info.name;
}

}  // namespace orvik::ctl
