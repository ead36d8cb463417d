// SPDX-License-Identifier: MIT
// Connecting and disconnecting, and cameras that are unplugged and come back.
#include <algorithm>
#include <cstring>
#include <mutex>

#include "camera_device.h"
#include "event_thread.h"
#include "fleet.h"

namespace orvik::indi {
namespace {

/// Cameras are opened and closed by one thread at a time.
std::mutex& openingMutex() {
  static auto* const only = new std::mutex;
  return *only;
}

std::string firmwareText(const Camera& camera) {
  std::error_code error;
  const Orvik_FIRMWARE_VERSION version = camera.firmware().version(error);
  if (error) return "unknown";
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%d, FPGA %d.%04X", version.firmware, version.fpgaMajor,
                static_cast<unsigned>(version.fpgaMinor));
  return text.data();
}

}  // namespace

bool CameraDevice::connectionRequested(const ISState* states, char* names[], int count) {
  for (int n = 0; n < count; ++n) {
    if (states[n] != ISS_ON) continue;
    if (std::strcmp(names[n], "CONNECT") == 0) {
      if (link_ == Link::kOpen) {
        setConnected(true, IPS_OK);
      } else if (link_ == Link::kClosed) {
        open(false);
      }
    } else if (std::strcmp(names[n], "DISCONNECT") == 0) {
      isReturning_ = false;
      wanted_.clear();
      m_TemperatureCheckTimer.stop();
      TemperatureNP.s = IPS_IDLE;
      close(IPS_IDLE, nullptr);
    }
  }
  return true;
}

void CameraDevice::open(bool isQuiet) {
  link_ = Link::kOpening;
  if (auto connection = getSwitch("CONNECTION"); connection.isValid() && !isQuiet) {
    connection.setState(IPS_BUSY);
    connection.apply();
  }
  service_.post(
      [this, isQuiet, number = ++connection_, identity = device_.identity](const std::stop_token&) {
        try {
          const std::scoped_lock lock(openingMutex());
          camera_ = Camera::open(identity);
          Opened result{camera_.info(),
                        {camera_.controls().begin(), camera_.controls().end()},
                        readControls(),
                        firmwareText(camera_)};
          onEventThread([this, number, result = std::move(result)] {
            if (number == connection_) opened(result);
          });
        } catch (const Error& error) {
          onEventThread([this, number, isQuiet, reason = std::string(error.what())] {
            if (number == connection_) notOpened(reason, isQuiet);
          });
        }
      });
}

void CameraDevice::opened(const Opened& result) {
  const bool isReturn = std::exchange(isReturning_, false);
  link_ = Link::kOpen;
  closeCamerasAtExit();
  opened_ = result;
  controls_.build(opened_.controls, opened_.values);
  setUpChip();
  showTemperature({opened_.values, {}, {}, 0});
  setConnected(true, IPS_OK, isReturn ? "The camera is back." : nullptr);
  updateProperties();
  if (isReturn) {
    setControls("CCD_CONTROLS", ControlValues(wanted_));
  } else {
    loadConfig(true);
  }
  poll();
  restartTimer();
}

void CameraDevice::restartTimer() {
  if (timer_ >= 0) RemoveTimer(timer_);
  timer_ = SetTimer(getCurrentPollingPeriod());
}

void CameraDevice::notOpened(const std::string& reason, bool isQuiet) {
  link_ = Link::kClosed;
  if (isQuiet) return;
  LOGF_ERROR("%s", reason.c_str());
  setConnected(false, IPS_ALERT);
}

void CameraDevice::release() {
  if (link_ == Link::kClosed) return;
  ++connection_;
  exposureStop_.request_stop();
  streamStop_.request_stop();
  for (int axis : {0, 1}) stopGuiding(axis);
  service_.post([this](const std::stop_token&) {
    captures_.drain();
    for (Axis& axis : axes_) axis.worker.drain();
    const std::scoped_lock lock(openingMutex());
    camera_.close();
  });
}

void CameraDevice::close(IPState state, const char* message) {
  release();
  const bool wasOpen = std::exchange(link_, Link::kClosed) == Link::kOpen;
  ++exposure_;
  if (std::exchange(isExposing_, false)) PrimaryCCD.setExposureFailed();
  endStream();
  setConnected(false, state, message);
  if (wasOpen) updateProperties();
}

void CameraDevice::arrived(const Device& device) {
  device_ = device;
  if (isReturning_ && link_ == Link::kClosed) open(true);
}

void CameraDevice::left() {
  if (link_ == Link::kClosed) return;
  isReturning_ = true;
  LOG_ERROR("The camera was unplugged. It is connected again when it is plugged in.");
  close(IPS_ALERT, nullptr);
  restartTimer();
}

void CameraDevice::fail(const Error& error, std::function<void()> first) {
  const bool isGone =
      error.orvikCode() == Orvik_ERROR_NO_CAMERA_OBJECT ||
      camera_.noFrameReason() == Orvik_NO_FRAME_UNPLUGGED || [this] {
        std::error_code unknown;
        const std::vector<Device> present = devices(unknown);
        return !unknown &&
               std::none_of(present.begin(), present.end(), [this](const Device& device) {
                 return device.isOpen && device.handle == camera_.handle();
               });
      }();
  onEventThread([this, first = std::move(first), what = std::string(error.what()), isGone] {
    if (first) first();
    if (link_ != Link::kOpen) return;
    LOGF_ERROR("%s", what.c_str());
    if (isGone) left();
  });
}

void CameraDevice::shutDown() {
  isReturning_ = false;
  release();
  link_ = Link::kClosed;
}

}  // namespace orvik::indi
