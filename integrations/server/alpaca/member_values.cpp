// SPDX-License-Identifier: MIT
#include "integrations/server/alpaca/member_values.h"

#include <algorithm>
#include <chrono>
#include <string>

#include "imaging/time_text.h"

namespace orvik::server {
namespace {

AlpacaError invalidOperation(const char* message) {
  return {ErrorNumber::kInvalidOperation, message};
}

/// Bit 0: mirrored horizontally, bit 1: vertically.
int flipOf(const CameraStatus& status) {
  const auto found = std::ranges::find_if(
      status.controls, [](const ControlState& control) { return control.type == Orvik_CTL_FLIP; });
  return found == status.controls.end() ? 0 : found->now.value;
}

/// The order of colours at the corner of the images of the whole sensor.
BayerPattern mosaicOf(const CameraView& camera) {
  const Orvik_CAMERA_INFO& info = camera.info();
  return imageMosaic(info.bayer, flipOf(*camera.status), 1, 0, 0, info.maxWidth, info.maxHeight);
}

}  // namespace

Json bayerOffsetX(const CameraView& camera) {
  const BayerPattern mosaic = mosaicOf(camera);
  return mosaic == BAYER_GR || mosaic == BAYER_BG ? 1 : 0;
}

Json bayerOffsetY(const CameraView& camera) {
  const BayerPattern mosaic = mosaicOf(camera);
  return mosaic == BAYER_GB || mosaic == BAYER_BG ? 1 : 0;
}

Json temperature(const CameraView& camera) {
  if (!camera.status->temperature) throw invalidOperation("There is no valid temperature now.");
  return *camera.status->temperature;
}

const CoolingState& cooling(const CameraView& camera) {
  if (!camera.status->cooling) throw invalidOperation("The cooler has not answered yet.");
  return *camera.status->cooling;
}

Json readoutModeNames(const CameraView& camera) {
  Json names = Json::array();
  for (const ReadoutMode& mode : readoutModes(*camera.description)) names.push_back(mode.name);
  return names;
}

Json lastExposureSeconds(const CameraView& camera) {
  if (!camera.lastExposure) throw invalidOperation("There was no exposure yet.");
  return std::chrono::duration<double>(*camera.lastExposure).count();
}

Json lastExposureStart(const CameraView& camera) {
  if (!camera.lastExposure) throw invalidOperation("There was no exposure yet.");
  return imaging::utcText(camera.lastStart);
}

Json imageReady(const CameraView& camera) {
  if (camera.exposureFailure) throw AlpacaError(*camera.exposureFailure);
  return camera.image != nullptr;
}

Json connecting(const CameraView& camera) {
  if (camera.connectFailure) throw AlpacaError(*camera.connectFailure);
  return camera.isConnecting;
}

Json isPulseGuiding(const CameraView& camera) {
  if (camera.pulseFailure) throw AlpacaError(*camera.pulseFailure);
  return camera.isPulsing;
}

Json deviceState(const CameraView& camera) {
  Json states = Json::array();
  const auto add = [&](const char* name, Json value) {
    states.push_back({{"Name", name}, {"Value", std::move(value)}});
  };
  const CameraStatus& status = *camera.status;
  add("CameraState", static_cast<int>(camera.state));
  if (camera.control(Orvik_CTL_TEMPERATURE) != nullptr && status.temperature) {
    add("CCDTemperature", *status.temperature);
  }
  if (camera.info().hasCooler == Orvik_TRUE && status.cooling) {
    add("CoolerPower", double(status.cooling->power));
  }
  add("ImageReady", camera.image != nullptr);
  if (camera.info().hasST4 == Orvik_TRUE) add("IsPulseGuiding", camera.isPulsing);
  add("PercentCompleted", camera.percent);
  add("TimeStamp", imaging::utcText(std::chrono::system_clock::now()) + "Z");
  return states;
}

Json description(const CameraView& camera) {
  constexpr std::size_t kLongest = 64;
  return camera.identity.label.substr(0, kLongest);
}

Json driverInfo(const CameraView&) {
  return std::string("Orvik ") + OrvikGetVersion() + ", cameras by orvik-server";
}

Json driverVersion(const CameraView&) {
  const std::string version = OrvikGetVersion();
  return version.substr(0, version.rfind('.'));
}

}  // namespace orvik::server
