// SPDX-License-Identifier: MIT
#include "tools/orvikctl/capture/capture_camera.h"

#include <algorithm>
#include <chrono>
#include <iostream>
#include <system_error>

#include "imaging/unplugged.h"
#include "tools/orvikctl/interrupt.h"
#include "tools/orvikctl/report_failure.h"

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
    : options_(&options), kind_(kind), connected_(options.virtualCameras) {
  const ConnectedCamera& chosen = connected_.choose(options.camera);
  label_ = chosen.label();
  serial_ = chosen.serial;
  port_ = chosen.port;
  const auto cooling = coolingPlanOf(options.cooling);
  camera_ = openCamera(chosen);
  if (cooling) requireTarget(camera_, cooling->target);
  setUp();
  if (cooling) cooling_.emplace(camera_, *cooling, options.quiet);
}

CaptureCamera::~CaptureCamera() {
  if (camera_.isOpen()) restore(camera_, replaced_);
}

bool CaptureCamera::isUnplugged() const { return imaging::wasUnplugged(camera_); }

void CaptureCamera::use(const CaptureOptions& options) {
  options_ = &options;
  setUp();
}

void CaptureCamera::restoreAtEnd(Orvik_CONTROL_TYPE type) {
  if (camera_.control(type) != nullptr) remember({type, camera_.read(type)});
}

ExitCode CaptureCamera::run(const std::function<ExitCode()>& work) {
  if (!cooling_) return work();
  ExitCode code = ExitCode::kInterrupted;
  try {
    if (cooling_->coolDown(interruption())) code = work();
  } catch (...) {
    code = reportFailure(std::current_exception());
  }
  return warmUp(code);
}

ExitCode CaptureCamera::warmUp(ExitCode code) {
  if (!camera_.isOpen() || isUnplugged()) return code;
  try {
    if (!cooling_->warmUp() && code == ExitCode::kOk) return ExitCode::kInterrupted;
  } catch (...) {
    const ExitCode second = reportFailure(std::current_exception());
    if (code == ExitCode::kOk) return second;
  }
  return code;
}

bool CaptureCamera::comeBack(const std::stop_token& stop) {
  if (!waitForDevice(stop)) return false;
  setUp();
  std::cerr << label_ << " is back\n";
  return !cooling_ || cooling_->coolDownAgain(stop);
}

bool CaptureCamera::waitForDevice(const std::stop_token& stop) {
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
  return true;
}

void CaptureCamera::setUp() {
  for (const Replaced& now : applyOptions(camera_, *options_, kind_)) remember(now);
}

void CaptureCamera::remember(const Replaced& now) {
  // What is restored at the end is the value from before the first time.
  const bool isKnown =
      std::ranges::any_of(replaced_, [&](const Replaced& one) { return one.type == now.type; });
  if (!isKnown) replaced_.push_back(now);
}

}  // namespace orvik::ctl
