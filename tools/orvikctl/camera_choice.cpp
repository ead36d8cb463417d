// SPDX-License-Identifier: MIT
#include "tools/orvikctl/camera_choice.h"

#include <algorithm>

#include "tools/orvikctl/failure.h"
#include "tools/orvikctl/units.h"

namespace orvik::ctl {
namespace {

// An index has up to three digits, a serial number eight.
constexpr std::size_t kMostIndexDigits = 3;

/// The list and the indices are in one order, unless something is plugged in between the two.
std::vector<Device> enumerate() {
  constexpr int kTries = 3;
  std::vector<Device> list;
  for (int n = 0; n < kTries; ++n) {
    const int count = OrvikGetNumOfConnectedCameras();
    list = devices();
    if (list.size() == static_cast<std::size_t>(count)) break;
  }
  return list;
}

ConnectedCamera describe(int index, const Device& device) {
  ConnectedCamera camera{index, index, device.name, device.serial, device.port, std::nullopt};
  if (camera.name.empty()) camera.name = "unknown model";
  Orvik_CAMERA_INFO info{};
  if (OrvikGetCameraProperty(&info, index) == Orvik_OK) camera.info = info;
  return camera;
}

std::string listed(const std::vector<const ConnectedCamera*>& cameras) {
  std::string text;
  for (const ConnectedCamera* camera : cameras) {
    text += "\n  " + std::to_string(camera->index) + "  " + camera->name;
    if (!camera->serial.empty()) text += "  " + camera->serial;
    text += "  " + camera->port;
  }
  return text;
}

}  // namespace

std::string ConnectedCamera::label() const {
  return name + (serial.empty() ? " at port " + port : " " + serial);
}

ConnectedCameras::ConnectedCameras(const std::vector<std::string>& virtualCameras) {
  for (const std::string& description : virtualCameras) virtual_.plug(description);
  int index = 0;
  for (const Device& device : enumerate()) cameras_.push_back(describe(index++, device));
  // Virtual cameras stand in the order of the command line, not in that of their models.
  const std::vector<std::string> ports = virtual_.ports();
  if (ports.empty()) return;
  std::ranges::stable_sort(cameras_, {}, [&](const ConnectedCamera& camera) {
    return std::ranges::find(ports, camera.port) - ports.begin();
  });
  for (int n = 0; ConnectedCamera & camera : cameras_) camera.index = n++;
}

const ConnectedCamera& ConnectedCameras::choose(const std::string& text) const {
  if (cameras_.empty()) throw Failure(ExitCode::kNoCamera, kNoCameraText);
  const int index = text.size() <= kMostIndexDigits ? parseInteger(text).value_or(-1) : -1;
  std::vector<const ConnectedCamera*> all;
  std::vector<const ConnectedCamera*> meant;
  for (const ConnectedCamera& camera : cameras_) {
    all.push_back(&camera);
    if (camera.index == index || camera.port == text) return camera;
    const bool hasSerial = !camera.serial.empty() && foldName(camera.serial) == foldName(text);
    if (text.empty() || hasSerial) meant.push_back(&camera);
  }
  if (meant.size() == 1) return *meant.front();
  if (meant.empty()) {
    throw Failure(ExitCode::kNoCamera, "there is no camera " + text + ". There are:" + listed(all));
  }
  throw Failure(ExitCode::kNoCamera,
                text.empty()
                    ? "several cameras are connected; name one with --camera:" + listed(all)
                    : "several cameras have the serial number " + text +
                          "; name one by its port:" + listed(meant));
}

}  // namespace orvik::ctl
