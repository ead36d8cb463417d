// SPDX-License-Identifier: MIT
#include "camera_device.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "event_thread.h"

namespace orvik::indi {
namespace {

constexpr const char* kInfoTab = "Camera";

}  // namespace

CameraDevice::CameraDevice(Device device) : device_(std::move(device)) {
  setVersion(ORVIK_VERSION_MAJOR, ORVIK_VERSION_MINOR);
}

bool CameraDevice::initProperties() {
  INDI::CCD::initProperties();
  SetCCDCapability(CCD_CAN_ABORT | CCD_CAN_BIN | CCD_CAN_SUBFRAME | CCD_HAS_ST4_PORT |
                   CCD_HAS_STREAMING);
  addDebugControl();
  addConfigurationControl();
  addPollPeriodControl();

  initCooler();
  const std::array<const char*, 4> directions{"NORTH", "SOUTH", "EAST", "WEST"};
  for (std::size_t n = 0; n < directions.size(); ++n) {
    guideLines_[n].fill(directions[n], directions[n], "%.f", 0, 3, 1, static_cast<double>(n));
  }
  guideLines_.fill(getDeviceName(), "GUIDE_LINES", "Guide lines", GUIDE_CONTROL_TAB, IP_RW, 60,
                   IPS_IDLE);
  readout_[0].fill("USB_PORT", "USB generation of the port", "%.f", 2, 3, 1, 0);
  readout_[1].fill("FRAME_RATE", "Expected frames/s", "%.2f", 0, 100000, 0, 0);
  readout_[2].fill("LOST_FRAMES", "Lost frames", "%.f", 0, 1e9, 1, 0);
  readout_.fill(getDeviceName(), "CAMERA_READOUT", "Read-out", kInfoTab, IP_RO, 60, IPS_IDLE);

  IUFillText(&cameraTexts_[0], "MODEL", "Model", "");
  IUFillText(&cameraTexts_[1], "SERIAL", "Serial number", "");
  IUFillText(&cameraTexts_[2], "PORT", "Port", "");
  IUFillText(&cameraTexts_[3], "FIRMWARE", "Firmware", "");
  IUFillText(&cameraTexts_[4], "LIBRARY", "liborvik", OrvikGetVersion());
  IUFillTextVector(&cameraText_, cameraTexts_, 5, getDeviceName(), "CAMERA_INFO", "Camera",
                   kInfoTab, IP_RO, 60, IPS_IDLE);
  return true;
}

bool CameraDevice::updateProperties() {
  INDI::CCD::updateProperties();
  const bool hasCooler = opened_.info.hasCooler == Orvik_TRUE;
  if (isConnected()) {
    controls_.define();
    if (hasCooler) {
      defineProperty(coolerSwitch_);
      defineProperty(coolerPower_);
    } else {
      defineProperty(&TemperatureNP);
    }
    defineProperty(guideLines_);
    defineProperty(readout_);
    defineProperty(&cameraText_);
  } else {
    controls_.remove();
    if (hasCooler) {
      deleteProperty(coolerSwitch_.getName());
      deleteProperty(coolerPower_.getName());
    } else {
      deleteProperty(TemperatureNP.name);
    }
    deleteProperty(guideLines_.getName());
    deleteProperty(readout_.getName());
    deleteProperty(cameraText_.name);
  }
  return true;
}

bool CameraDevice::saveConfigItems(FILE* file) {
  INDI::CCD::saveConfigItems(file);
  controls_.save(file);
  guideLines_.save(file);
  return true;
}

template <typename Value, typename Request>
bool CameraDevice::postpone(Request request, const char* property, const Value values[],
                            char* names[], int count) {
  postponed_.emplace_back([this, request, property = std::string(property),
                           copies = std::vector<Value>(values, values + count),
                           texts = std::vector<std::string>(names, names + count)]() mutable {
    std::vector<char*> pointers;
    pointers.reserve(texts.size());
    for (std::string& text : texts) pointers.push_back(text.data());
    (this->*request)(getDeviceName(), property.c_str(), copies.data(), pointers.data(),
                     static_cast<int>(pointers.size()));
  });
  return true;
}

bool CameraDevice::ISNewNumber(const char* device, const char* name, double values[], char* names[],
                               int count) {
  if (device == nullptr || std::strcmp(device, getDeviceName()) != 0) return false;
  if (mustWait(name)) return postpone(&CameraDevice::ISNewNumber, name, values, names, count);
  if (link_ == Link::kOpen) {
    if (const auto changes = controls_.requested(name, values, names, count)) {
      setControls(name, *changes);
      return true;
    }
    if (guideLines_.isNameMatch(name)) return guideLinesRequested(values, names, count);
    if (stopsGuiding(name, values, count)) return true;
    if (std::strcmp(name, TemperatureNP.name) == 0) {
      if (TemperatureNP.p == IP_RO) return false;
      values[0] = std::round(values[0]);  // the camera regulates to whole degrees
    }
  }
  const bool isHandled = INDI::CCD::ISNewNumber(device, name, values, names, count);
  // INDI shows what the client asked for: show what it gets.
  if (std::strcmp(name, "CCD_FRAME") == 0) setFrame(regionOf(format_));
  if (isStreaming_ && std::strcmp(name, "STREAMING_EXPOSURE") == 0) setStreamExposure();
  return isHandled;
}

bool CameraDevice::ISNewSwitch(const char* device, const char* name, ISState* states, char* names[],
                               int count) {
  if (device == nullptr || std::strcmp(device, getDeviceName()) != 0) return false;
  if (mustWait(name)) return postpone(&CameraDevice::ISNewSwitch, name, states, names, count);
  if (std::strcmp(name, "CONNECTION") == 0) return connectionRequested(states, names, count);
  if (link_ == Link::kOpen) {
    if (coolerSwitch_.isNameMatch(name)) return coolerRequested(states, names, count);
    if (const auto changes = controls_.requested(name, states, names, count)) {
      setControls(name, *changes);
      return true;
    }
  }
  return INDI::CCD::ISNewSwitch(device, name, states, names, count);
}

void CameraDevice::setControls(const char* property, const ControlValues& changes) {
  const bool concernsImage = std::any_of(changes.begin(), changes.end(), [](const auto& change) {
    return change.first != Orvik_CTL_TARGET_TEMP && change.first != Orvik_CTL_COOLER_ON;
  });
  if (isExposing_ && concernsImage) LOG_INFO("The setting takes effect after the exposure.");
  ++controlChanges_;
  // What concerns the image waits for the end of an exposure; in a video it acts at once.
  Worker& worker = concernsImage && !isStreaming_ ? captures_ : service_;
  worker.post([this, name = std::string(property), changes](const std::stop_token&) {
    writeControls(name, changes);
  });
}

void CameraDevice::writeControls(const std::string& property, const ControlValues& changes) {
  const bool isAutoMode = property == "CCD_CONTROLS_AUTO";
  ControlValues now;
  bool isDone = true;
  for (const auto& [type, value] : changes) {
    try {
      const std::int32_t number = isAutoMode ? camera_.read(type).value : value.value;
      camera_.write(type, {number, value.isAuto});
      now[type] = camera_.read(type);
    } catch (const Error& error) {
      isDone = false;
      fail(error);
    }
  }
  onEventThread([this, property, now, isDone] {
    if (link_ != Link::kOpen) return;
    ++controlChanges_;
    for (const auto& [type, value] : now) opened_.values[type] = wanted_[type] = value;
    if (!isStreaming_) setStreamFormat();  // a flip exchanges the colours of the mosaic
    controls_.show(now);
    controls_.finish(property.c_str(), isDone);
  });
}

void CameraDevice::TimerHit() {
  timer_ = -1;
  if (link_ == Link::kClosed && isReturning_) open(true);
  if (link_ == Link::kOpen) {
    if (isExposing_) {
      const std::chrono::duration<double> left = exposureEnd_ - Clock::now();
      PrimaryCCD.setExposureLeft(std::max(left.count(), 0.0));
    }
    // An image that could not be sent is not reported.
    if (isUploading_ && !isExposing_ && !PrimaryCCD.isExposing()) uploaded();
    poll();
  }
  if (link_ != Link::kClosed || isReturning_) restartTimer();
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
  service_.post([this, changes = controlChanges_, number = connection_](const std::stop_token&) {
    Status status;
    status.values = readControls();
    std::error_code error;
    if (const auto cooler = camera_.cooler(error); !error) status.cooler = cooler;
    status.readout = camera_.readout(error);
    status.lostFrames = camera_.droppedFrames(error);
    onEventThread([this, changes, number, status] {
      isPolling_ = false;
      if (link_ != Link::kOpen || number != connection_) return;
      if (changes == controlChanges_) controls_.show(status.values);
      showStatus(status);
    });
  });
}

void CameraDevice::showStatus(const Status& status) {
  showTemperature(status);
  const std::array<double, 3> values{opened_.info.usb3Host == Orvik_TRUE ? 3.0 : 2.0,
                                     status.readout.frameRate,
                                     static_cast<double>(status.lostFrames)};
  bool isChanged = false;
  for (std::size_t n = 0; n < values.size(); ++n) {
    isChanged = isChanged || readout_[n].getValue() != values[n];
    readout_[n].setValue(values[n]);
  }
  if (!isChanged) return;
  readout_.setState(IPS_OK);
  readout_.apply();
}

}  // namespace orvik::indi
