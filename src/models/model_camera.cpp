// SPDX-License-Identifier: MIT
#include "models/model_camera.h"

#include <algorithm>
#include <array>
#include <utility>

#include "camera/capture_pause.h"
#include "cooler/cooled_camera.h"
#include "link/camera_versions.h"

namespace orvik {
namespace {

/// With a lower clock a camera has not been initialised yet.
constexpr int kLowestClockKhz = 9281;

}  // namespace

template <class Base>
ModelCamera<Base>::ModelCamera(const ModelRow& row, std::shared_ptr<const FrameProtocol> protocol)
    : Base(row, std::move(protocol)) {
  CameraState& now = state();
  now.bandwidth = automaticBandwidth(false);
  now.bandwidthUsb3 = automaticBandwidth(true);
  now.bandwidthAuto = row.bandwidthAutoSupported;
}

template <class Base>
bool ModelCamera<Base>::startCapture(bool snapshot) {
  // If no region has been set, the whole sensor is read.
  if (isOpen() && !regionTold_) {
    setResolution(state().width, state().height, state().bin, state().imageType);
  }
  return Base::startCapture(snapshot);
}

template <class Base>
bool ModelCamera<Base>::initialise() {
  if (!isOpen()) return false;
  const auto lock = lockSettings();
  const auto settings = this->presentSettings();
  this->loadKeptDark();
  link().makeSafe(model().cooled);  // a crashed program may have left it in any state
  state().usb3Host = isAtUsb3Port(link());
  if (state().usb3Host) state().bandwidth = state().bandwidthUsb3.load();
  this->hotPixels().use(this->loadHotPixels());
  noteVersions();
  regionTold_ = false;  // startSensor() resets the sensor
  startSensor();
  reapplyControls();
  this->onInitialised();
  this->settleSettings(settings);
  return true;
}

template <class Base>
void ModelCamera<Base>::noteVersions() {
  std::uint8_t firmware = 0;
  readFirmwareVersion(link(), firmware);
  state().firmwareVersion = firmware;
  FpgaVersion fpga;
  readFpgaVersion(link(), fpga);
  state().fpgaVersion = fpga;
}

template <class Base>
void ModelCamera<Base>::reapplyControls() {
  CameraState& now = state();
  this->setGamma(now.gamma);
  setWhiteBalance(now.whiteBalanceRed, now.whiteBalanceBlue, now.whiteBalanceAuto);
  setBrightness(now.brightness);
  if (now.bandwidthAuto) now.bandwidth = automaticBandwidth(now.usb3Host);
  selectClock();
  setGain(now.gain, now.gainAuto);
  setExposure(now.exposureUs, now.exposureAuto);
}

template <class Base>
bool ModelCamera<Base>::setResolution(int width, int height, int bin, IMAGE_TYPE type) {
  if (!canDeliver(model(), width, height, bin, type)) return false;
  const auto lock = lockSettings();
  const typename Base::CapturePause pause(*this);
  CameraState& now = state();
  now.bin = bin;
  now.height = height;
  now.width = width;
  now.imageType = type;
  const SensorPosition start = centred(model(), width, height, bin);
  setStartPosition(start.x, start.y);
  setSampleDepth(rowOf(type).is16Bits);
  writeRegionSize();
  regionTold_ = true;
  selectClock();
  followClock();
  this->publishFormat();
  return true;
}

template <class Base>
bool ModelCamera<Base>::setHardwareBin(bool on) {
  if (!offers(Orvik_CTL_HARDWARE_BIN)) return false;
  const auto lock = lockSettings();
  CameraState& now = state();
  if (now.bin == 1) {
    now.hardwareBin = on;
    return true;
  }
  const typename Base::CapturePause pause(*this);
  now.hardwareBin = on;
  const SensorPosition held{now.startX, now.startY};
  setResolution(now.width, now.height, now.bin, now.imageType);
  setStartPosition(held.x, held.y);
  return true;
}

template <class Base>
bool ModelCamera<Base>::setStartPosition(int x, int y) {
  const auto lock = lockSettings();
  CameraState& now = state();
  const SensorPosition start = readablePosition(model(), {x, y}, now.width, now.height, now.bin);
  now.startX = start.x;
  now.startY = start.y;
  this->followRegion();
  writeStartPosition();
  this->noteSettings();
  return true;
}

template <class Base>
bool ModelCamera<Base>::setHighSpeedMode(bool on) {
  if (!offers(Orvik_CTL_HIGH_SPEED_MODE)) return false;
  const auto lock = lockSettings();
  CameraState& now = state();
  if (binsOnSensor()) {  // the binned read-out has a clock of its own
    now.highSpeedMode = on;
    return true;
  }
  // Depth and clock change one after the other, and no frame may be exposed between them.
  const typename Base::CapturePause pause(*this);
  now.highSpeedMode = on;
  setSampleDepth(now.output16Bits);
  selectClock();
  followClock();
  setBrightness(now.brightness);
  return true;
}

template <class Base>
void ModelCamera<Base>::followClock() {
  CameraState& now = state();
  applyBandwidth(now.bandwidth, now.bandwidthAuto);
  // applyBandwidth() has written the exposure, too, except to a camera that was not initialised. It
  // is written again in every case, because recordings contain this sequence.
  setExposure(now.exposureUs, now.exposureAuto);
}

template <class Base>
bool ModelCamera<Base>::resetSettings() {
  const auto lock = lockSettings();
  const bool done = Base::resetSettings();
  applyBandwidth(automaticBandwidth(state().usb3Host), model().bandwidthAutoSupported);
  return done;
}

template <class Base>
bool ModelCamera<Base>::setBandwidth(int percent, bool automatic) {
  return offers(Orvik_CTL_BANDWIDTH) && applyBandwidth(percent, automatic);
}

template <class Base>
bool ModelCamera<Base>::applyBandwidth(int percent, bool automatic) {
  const auto lock = lockSettings();
  CameraState& now = state();
  if (now.clockKhz < kLowestClockKhz) return false;
  automatic = automatic && model().bandwidthAutoSupported;
  const bool switchedOn = automatic && !now.bandwidthAuto;
  now.bandwidth = switchedOn ? automaticBandwidth(now.usb3Host)
                             : std::clamp(percent, kMinBandwidth, kMaxBandwidth);
  now.bandwidthAuto = automatic;
  if (switchedOn) now.bandwidthAutoSince = this->clock().now();
  now.lineLength = lineLengthFor(now.bandwidth, lineLimits(),
                                 {.rows = now.rowsDelivered(),
                                  .columns = now.columnsDelivered(),
                                  .output16Bits = now.output16Bits},
                                 now.clockKhz);
  writeLineLength();
  setExposure(now.exposureUs, now.exposureAuto);
  updateFrameRate();
  return true;
}

template <class Base>
void ModelCamera<Base>::updateFrameRate() {
  constexpr std::uint64_t kShortExposureUs = 100'000;
  CameraState& now = state();
  if (now.exposureUs >= kShortExposureUs) return;
  const float rate = maxFrameRate(now.rowsDelivered(), now.lineLength, now.clockKhz);
  now.maxFrameRate = rate;
  now.dataRate = rate * static_cast<float>(now.columnsDelivered()) *
                 static_cast<float>(now.rowsDelivered()) / 1000.0F / 1000.0F;
}

template <class Base>
bool ModelCamera<Base>::setExposure(std::uint64_t exposureUs, bool automatic) {
  const auto lock = lockSettings();
  CameraState& now = state();
  now.exposureAuto = automatic;
  now.exposureUs = std::clamp(exposureUs, static_cast<std::uint64_t>(model().exposureUs.min),
                              static_cast<std::uint64_t>(model().exposureUs.max));
  const bool told = writeExposure();
  this->noteSettings();
  return told;
}

template <class Base>
bool ModelCamera<Base>::setGain(int gain, bool automatic) {
  const auto lock = lockSettings();
  CameraState& now = state();
  now.gain = std::clamp(gain, model().gain.min, model().gain.max);
  now.gainAuto = automatic;
  writeGain();
  this->noteSettings();
  return true;
}

template <class Base>
bool ModelCamera<Base>::setBrightness(int value) {
  if (!offers(Orvik_CTL_BRIGHTNESS)) return false;
  const auto lock = lockSettings();
  state().brightness = std::clamp(value, model().brightness.min, model().brightness.max);
  const bool told = writeBrightness();
  this->noteSettings();
  return told;
}

template <class Base>
void ModelCamera<Base>::setWhiteBalance(int red, int blue, bool automatic) {
  const auto lock = lockSettings();
  CameraState& now = state();
  now.whiteBalanceRed = std::clamp(red, model().whiteBalanceMin, model().whiteBalanceMax);
  now.whiteBalanceBlue = std::clamp(blue, model().whiteBalanceMin, model().whiteBalanceMax);
  now.whiteBalanceAuto = automatic;
  if (model().colour) writeWhiteBalance();
  this->noteSettings();
}

// Cooled cameras have a thermistor instead of the thermometer chip. The answer of the chip is a
// 12-bit two's complement number of 1/16 degree; the upper half of byte 0 has its low four bits.
template <class Base>
float ModelCamera<Base>::readTemperature() {
  if (model().cooled || !offers(Orvik_CTL_TEMPERATURE)) return Base::readTemperature();
  std::array<std::uint8_t, 2> answer{};
  CameraState& now = state();
  if (!link().receive(VendorRequest::kTemperature, 0, 0, answer)) {
    now.temperatureValid = false;
    return now.temperature;
  }
  const int raw = answer[1] * 16 + (answer[0] >> 4);
  const float celsius = static_cast<float>(raw >= 2048 ? raw - 4096 : raw) * 0.0625F;
  now.noteTemperature(raw == 0 ? now.temperature.load() : celsius, this->clock().now());
  return now.temperature;
}

template class ModelCamera<Camera>;
template class ModelCamera<CooledCamera>;

}  // namespace orvik
