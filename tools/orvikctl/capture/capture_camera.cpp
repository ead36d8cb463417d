// SPDX-License-Identifier: MIT
#include "tools/orvikctl/capture/capture_camera.h"

#include <algorithm>
#include <chrono>
#include <iostream>
#include <system_error>

#include "imaging/unplugged.h"

namespace orvik::ctl {
namespace {

/// The device with this serial number; of a camera without one, the device at its port.
std::optional<Device> findDevice(const std::string& name, const std::string& serial,
                                 const std::string& port) {
  std::error_code error;
  for (const Device& device : devices(error)) {
    const bool isSame = serial.empty() ? device.port == port : device.serial == serial;
    if (isSame && device.name == name) return device;
  }
  return std::nullopt;
}

}  // namespace

CaptureCamera::CaptureCamera(const CaptureOptions& options, CaptureKind kind)
    : options_(options), kind_(kind), connected_(options.virtualCameras) {
  const ConnectedCamera& chosen = connected_.choose(options.camera);
  label_ = chosen.label();
  serial_ = chosen.serial;
  port_ = chosen.port;
  camera_ = openCamera(chosen);
  setUp();
}

CaptureCamera::~CaptureCamera() {
  if (camera_.isOpen()) restore(camera_, replaced_);
}

bool CaptureCamera::isUnplugged() const { return imaging::wasUnplugged(camera_); }

bool CaptureCamera::comeBack(const std::stop_token& stop) {
  constexpr auto kStep = std::chrono::milliseconds(100);
  // The system may still be setting the permissions of a device that it lists already.
  constexpr auto kOpening = std::chrono::seconds(5);
  const std::string name(camera_.name());
  camera_.close();
  std::cerr << label_ << " was unplugged; waiting until it is back (Ctrl-C ends)\n";
  std::optional<Device> device;
  do {
    if (!sleepFor(kStep, stop)) return false;
    device = findDevice(name, serial_, port_);
  } while (!device);
  std::error_code error;
  const auto deadline = std::chrono::steady_clock::now() + kOpening;
  do {
    camera_ = Camera::open(device->port, error);
    if (!error) break;
    if (!sleepFor(kStep, stop)) return false;
  } while (std::chrono::steady_clock::now() < deadline);
  if (error) camera_ = Camera::open(device->port);  // throws what is wrong
  setUp();
  std::cerr << label_ << " is back\n";
  return true;
}

void CaptureCamera::setUp() { replaced_ = applyOptions(camera_, options_, kind_); }

}  // namespace orvik::ctl
