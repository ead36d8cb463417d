// SPDX-License-Identifier: MIT
#include "camera_device.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace orvik::indi {

CameraDevice::CameraDevice(const std::string& name) {
  setVersion(ORVIK_VERSION_MAJOR, ORVIK_VERSION_MINOR);
  setDeviceName(name.c_str());
}

bool CameraDevice::initProperties() {
  constexpr const char* kTab = "Camera";
  constexpr double kTimeout = 60;  // seconds
  const char* const device = getDeviceName();
  INDI::CCD::initProperties();
  SetCCDCapability(CCD_CAN_ABORT | CCD_CAN_BIN | CCD_CAN_SUBFRAME | CCD_HAS_ST4_PORT |
                   CCD_HAS_STREAMING);
  addDebugControl();
  addConfigurationControl();
  addPollPeriodControl();

  coolerSwitch_[0].fill("COOLER_ON", "On", ISS_OFF);
  coolerSwitch_[1].fill("COOLER_OFF", "Off", ISS_ON);
  coolerSwitch_.fill(device, "CCD_COOLER", "Cooler", MAIN_CONTROL_TAB, IP_RW, ISR_1OFMANY, kTimeout,
                     IPS_IDLE);
  coolerPower_[0].fill("CCD_COOLER_VALUE", "Power (%)", "%.f", 0, 100, 1, 0);
  coolerPower_.fill(device, "CCD_COOLER_POWER", "Cooler power", MAIN_CONTROL_TAB, IP_RO, kTimeout,
                    IPS_IDLE);
  guideLines_[kNorth].fill("NORTH", "NORTH", "%.f", 0, 3, 1, 0);
  guideLines_[kSouth].fill("SOUTH", "SOUTH", "%.f", 0, 3, 1, 1);
  guideLines_[kEast].fill("EAST", "EAST", "%.f", 0, 3, 1, 2);
  guideLines_[kWest].fill("WEST", "WEST", "%.f", 0, 3, 1, 3);
  guideLines_.fill(device, "GUIDE_LINES", "Guide lines", GUIDE_CONTROL_TAB, IP_RW, kTimeout,
                   IPS_IDLE);
  readout_[0].fill("USB_PORT", "USB generation of the port", "%.f", 2, 3, 1, 0);
  readout_[1].fill("FRAME_RATE", "Expected frames/s", "%.2f", 0, 100000, 0, 0);
  readout_[2].fill("LOST_FRAMES", "Lost frames", "%.f", 0, 1e9, 1, 0);
  readout_.fill(device, "CAMERA_READOUT", "Read-out", kTab, IP_RO, kTimeout, IPS_IDLE);
  about_.fill(device, "CAMERA_INFO", "Camera", kTab, IP_RO, kTimeout, IPS_IDLE);
  SetTimer(getCurrentPollingPeriod());
  return true;
}

void CameraDevice::setUp() {
  const Orvik_CAMERA_INFO& info = opened_.info;
  const bool hasCooler = info.hasCooler == Orvik_TRUE;
  std::uint32_t abilities = GetCCDCapability();
  if (hasCooler) abilities |= CCD_HAS_COOLER;
  if (info.colour == Orvik_TRUE) abilities |= CCD_HAS_BAYER;
  SetCCDCapability(abilities);
  TemperatureNP.p = hasCooler ? IP_RW : IP_RO;
  showTemperature(opened_.values);
  setUpChip();
  controls_.build(getDeviceName(), opened_.controls, opened_.values);
  about_[0].fill("MODEL", "Model", info.name);
  about_[1].fill("SERIAL", "Serial number", device_.serial);
  about_[2].fill("PORT", "Port", device_.port);
  about_[3].fill("FIRMWARE", "Firmware", opened_.firmware);
  about_[4].fill("LIBRARY", "liborvik", OrvikGetVersion());

  properties_ = controls_.properties();
  if (hasCooler) {
    properties_.insert(properties_.end(), {coolerSwitch_, coolerPower_});
  } else {
    properties_.emplace_back(&TemperatureNP);
  }
  properties_.insert(properties_.end(), {guideLines_, readout_, about_});
}

bool CameraDevice::updateProperties() {
  INDI::CCD::updateProperties();
  for (INDI::Property& property : properties_) {
    if (isConnected()) {
      defineProperty(property);
    } else {
      deleteProperty(property);
    }
  }
  return true;
}

bool CameraDevice::saveConfigItems(FILE* file) {
  INDI::CCD::saveConfigItems(file);
  for (const INDI::Property& property : controls_.properties()) property.save(file);
  guideLines_.save(file);
  return true;
}

template <typename Value, typename Request>
bool CameraDevice::postpone(Request request, const char* property, const Value values[],
                            char* names[], int count) {
  postponed_.emplace_back([this, request, property = std::string(property),
                           copies = std::vector<Value>(values, values + count),
                           texts = std::vector<std::string>(names, names + count)]() mutable {
    std::vector<char*> pointers(texts.size());
    std::ranges::transform(texts, pointers.begin(), [](std::string& text) { return text.data(); });
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
    if (endsPulse(name, values, count)) return true;
    if (std::strcmp(name, TemperatureNP.name) == 0) {
      if (TemperatureNP.p == IP_RO) return false;
      values[0] = std::round(values[0]);  // the camera regulates to whole degrees
    }
  }
  const bool isHandled = INDI::CCD::ISNewNumber(device, name, values, names, count);
  // INDI shows what the client asked for: show what it gets.
  if (std::strcmp(name, "CCD_FRAME") == 0) showRegion();
  if (isStreaming_ && std::strcmp(name, "STREAMING_EXPOSURE") == 0) setStreamExposure(service_);
  return isHandled;
}

bool CameraDevice::ISNewSwitch(const char* device, const char* name, ISState* states, char* names[],
                               int count) {
  if (device == nullptr || std::strcmp(device, getDeviceName()) != 0) return false;
  if (mustWait(name)) return postpone(&CameraDevice::ISNewSwitch, name, states, names, count);
  if (std::strcmp(name, "CONNECTION") == 0) return connectionRequested(states, names, count);
  if (link_ == Link::kOpen) {
    if (const auto changes = controls_.requested(name, states, names, count)) {
      setControls(name, *changes);
      return true;
    }
    if (coolerSwitch_.isNameMatch(name)) return coolerRequested(states, names, count);
  }
  return INDI::CCD::ISNewSwitch(device, name, states, names, count);
}

void CameraDevice::TimerHit() {
  if (link_ == Link::kClosed && isReturning_) open();
  if (link_ == Link::kOpen) {
    if (isExposing_) {
      const std::chrono::duration<double> left = exposureEnd_ - Clock::now();
      PrimaryCCD.setExposureLeft(std::max(left.count(), 0.0));
    }
    // An image that could not be sent is not reported.
    if (isUploading_ && !isExposing_ && !PrimaryCCD.isExposing()) uploaded();
    poll();
  }
  SetTimer(getCurrentPollingPeriod());
}

}  // namespace orvik::indi
