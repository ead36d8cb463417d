// SPDX-License-Identifier: MIT
#include "tools/orvikctl/camera_choice.h"

#include <algorithm>

#include "tools/orvikctl/failure.h"
#include "tools/orvikctl/units.h"

namespace orvik::ctl {
namespace {

// An index has up to three digits, a serial number eight.
constexpr size_t kMostIndexDigits = 3;

ConnectedCamera describe(int index, const VirtualCameras& virtualCameras) {
  ConnectedCamera camera{index, cameraName(index), virtualCameras.serialAt(index), std::nullopt};
  Orvik_CAMERA_INFO info{};
  if (OrvikGetCameraProperty(&info, index) == Orvik_OK) camera.info = info;
  return camera;
}

std::string listed(const std::vector<ConnectedCamera>& cameras) {
  std::string text;
  for (const ConnectedCamera& camera : cameras) {
    text += "\n  " + std::to_string(camera.index) + "  " + camera.name;
    if (!camera.serial.empty()) text += "  " + camera.serial;
  }
  return text;
}

}  // namespace

ConnectedCameras::ConnectedCameras(const std::vector<std::string>& virtualCameras) {
  for (const std::string& description : virtualCameras) virtual_.plug(description);
  const int count = OrvikGetNumOfConnectedCameras();
  for (int index = 0; index < count; ++index) cameras_.push_back(describe(index, virtual_));
}

const ConnectedCamera& ConnectedCameras::choose(const std::string& text) const {
  if (cameras_.empty()) throw Failure(ExitCode::kNoCamera, kNoCameraText);
  if (text.empty()) {
    if (cameras_.size() == 1) return cameras_.front();
    throw Failure(ExitCode::kNoCamera,
                  "several cameras are connected; name one with --camera:" + listed(cameras_));
  }
  const int index = text.size() <= kMostIndexDigits ? parseInteger(text).value_or(-1) : -1;
  const auto named = [&](const ConnectedCamera& camera) {
    return camera.index == index ||
           (!camera.serial.empty() && foldName(camera.serial) == foldName(text));
  };
  const auto found = std::find_if(cameras_.begin(), cameras_.end(), named);
  if (found != cameras_.end()) return *found;
  throw Failure(ExitCode::kNoCamera,
                "there is no camera " + text + ". There are:" + listed(cameras_));
}

}  // namespace orvik::ctl
