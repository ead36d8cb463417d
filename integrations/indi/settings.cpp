// SPDX-License-Identifier: MIT
// The settings of the camera: what clients change, and what is shown.
#include <optional>
#include <utility>

#include "camera_device.h"
#include "event_thread.h"
#include "property_values.h"

namespace orvik::indi {

void CameraDevice::setControls(const char* property, const ControlValues& changes) {
  const bool concernsImage = !changes.contains(Orvik_CTL_COOLER_ON);  // part of a new temperature
  if (isExposing_ && concernsImage) LOG_INFO("The setting takes effect after the exposure.");
  ++controlChanges_;
  // What concerns the image waits for the end of an exposure; in a video it acts at once.
  Worker& worker = concernsImage && !isStreaming_ ? captures_ : service_;
  post(worker, [this, name = std::string(property), changes](const auto&) {
    const bool isAutoMode = name == "CCD_CONTROLS_AUTO";
    ControlValues now;
    std::optional<Error> failure;
    for (const auto& [type, value] : changes) {
      try {
        const std::int32_t number = isAutoMode ? camera_.read(type).value : value.value;
        camera_.write(type, {number, value.isAuto});
        now[type] = camera_.read(type);
      } catch (const Error& error) {
        failure = error;
      }
    }
    onEventThread([this, name, now, isDone = !failure] {
      if (link_ != Link::kOpen) return;
      ++controlChanges_;
      for (const auto& [type, value] : now) opened_.values[type] = wanted_[type] = value;
      if (!isStreaming_) setStreamFormat();  // a flip exchanges the colours of the mosaic
      controls_.show(now);
      controls_.finish(name.c_str(), isDone);
    });
    if (failure) throw Error(*failure);
  });
}

ControlValues CameraDevice::readControls() const {
  ControlValues values;
  for (const Control& control : camera_.controls()) {
    std::error_code error;
    const ControlValue value = control.read(error);
    if (!error) values[control.type()] = value;
  }
  return values;
}

void CameraDevice::poll() {
  if (std::exchange(isPolling_, true)) return;
  service_.post([this, changes = controlChanges_](const auto&) {
    std::error_code error;
    const ControlValues values = readControls();
    const double frameRate = camera_.readout(error).frameRate;
    const double lostFrames = camera_.droppedFrames(error);
    const Orvik_COOLER_STATUS cooler = camera_.cooler(error);
    onEventThread([this, changes, values, frameRate, lostFrames, cooler, hasCooler = !error] {
      isPolling_ = false;
      if (link_ != Link::kOpen || changes != controlChanges_) return;
      controls_.show(values);
      showTemperature(values);
      if (hasCooler) showCooler(cooler);
      const double usb = opened_.info.usb3Host == Orvik_TRUE ? 3 : 2;
      show(readout_, IPS_OK, std::vector<double>{usb, frameRate, lostFrames});
    });
  });
}

}  // namespace orvik::indi
