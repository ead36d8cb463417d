// SPDX-License-Identifier: MIT
// Connecting and disconnecting, and cameras that are unplugged and come back.
#include <array>
#include <mutex>
#include <string_view>

#include "camera_device.h"
#include "event_thread.h"
#include "fleet.h"
#include "imaging/unplugged.h"
#include "property_values.h"

namespace orvik::indi {
namespace {

std::mutex openingMutex;  // cameras are opened and closed by one thread at a time

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

std::stop_source CameraDevice::post(Worker& worker, Worker::Job job, std::function<void()> failed) {
  return worker.post(
      [this, job = std::move(job), failed = std::move(failed)](const std::stop_token& stop) {
        try {
          if (!stop.stop_requested()) job(stop);
        } catch (const Error& error) {
          const bool isGone = imaging::wasUnplugged(camera_);
          onEventThread([this, failed, stop, what = std::string(error.what()), isGone] {
            if (failed && !stop.stop_requested()) failed();
            if (link_ != Link::kOpen) return;
            LOGF_ERROR("%s", what.c_str());
            if (isGone) left();
          });
        }
      });
}

bool CameraDevice::connectionRequested(ISState* states, char* names[], int count) {
  const char* const found = IUFindOnSwitchName(states, names, count);
  const std::string_view wish = found == nullptr ? "" : found;
  if (wish == "CONNECT" && link_ == Link::kOpen) {
    setConnected(true, IPS_OK);
  } else if (wish == "CONNECT" && link_ == Link::kClosed) {
    auto connection = getSwitch("CONNECTION");
    send(connection, IPS_BUSY);
    open();
  } else if (wish == "DISCONNECT") {
    isReturning_ = false;
    wanted_.clear();
    m_TemperatureCheckTimer.stop();
    TemperatureNP.s = IPS_IDLE;
    close(IPS_IDLE);
  }
  return true;
}

void CameraDevice::open() {
  link_ = Link::kOpening;
  opening_ = service_.post([this, identity = device_.identity](const std::stop_token& stop) {
    if (stop.stop_requested()) return;
    try {
      const std::scoped_lock lock(openingMutex);
      camera_ = Camera::open(identity);
      const Opened result{camera_.info(),
                          {camera_.controls().begin(), camera_.controls().end()},
                          readControls(),
                          firmwareText(camera_)};
      onEventThread([this, stop, result] {
        if (!stop.stop_requested()) opened(result);
      });
    } catch (const Error& error) {
      onEventThread([this, stop, reason = std::string(error.what())] {
        if (stop.stop_requested()) return;
        link_ = Link::kClosed;
        if (getSwitch("CONNECTION").getState() != IPS_BUSY) return;  // no client has asked for it
        LOGF_ERROR("%s", reason.c_str());
        setConnected(false, IPS_ALERT);
      });
    }
  });
}

void CameraDevice::opened(const Opened& result) {
  const bool isReturn = std::exchange(isReturning_, false);
  link_ = Link::kOpen;
  closeCamerasAtExit();
  opened_ = result;
  setUp();
  setConnected(true, IPS_OK, isReturn ? "The camera is back." : nullptr);
  updateProperties();
  if (isReturn) {
    setControls("CCD_CONTROLS", ControlValues(wanted_));
  } else {
    loadConfig(true);
  }
  poll();
}

void CameraDevice::release() {
  if (link_ == Link::kClosed) return;
  link_ = Link::kClosed;
  for (std::stop_source* source : {&opening_, &exposure_, &stream_}) source->request_stop();
  for (Axis& axis : axes_) axis.pulse.request_stop();
  service_.post([this](const auto&) {
    captures_.drain();
    for (Axis& axis : axes_) axis.worker.drain();
    const std::scoped_lock lock(openingMutex);
    camera_.close();
  });
}

void CameraDevice::close(IPState state) {
  const bool wasOpen = link_ == Link::kOpen;
  release();
  if (std::exchange(isExposing_, false)) PrimaryCCD.setExposureFailed();
  endStream();
  if (wasOpen) {
    for (const std::size_t axis : {0U, 1U}) endPulse(axis);
  }
  setConnected(false, state);
  if (wasOpen) updateProperties();
}

void CameraDevice::arrived(const Device& device) {
  device_ = device;
  if (isReturning_ && link_ == Link::kClosed) open();
}

void CameraDevice::left() {
  if (link_ == Link::kClosed) return;
  isReturning_ = true;
  LOG_ERROR("The camera was unplugged. It is connected again when it is plugged in.");
  close(IPS_ALERT);
}

void CameraDevice::shutDown() {
  isReturning_ = false;
  release();
  service_.post([this](const auto&) {
    if (Streamer->isRecording()) Streamer->close();  // writes the number of frames
  });
}

}  // namespace orvik::indi
