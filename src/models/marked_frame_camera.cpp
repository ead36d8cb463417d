// SPDX-License-Identifier: MIT
#include "models/marked_frame_camera.h"

#include <algorithm>
#include <array>
#include <chrono>

#include "cooler/camera_cool.h"
#include "models/marked_frame_protocol.h"
#include "models/marked_registers.h"
#include "models/readout_geometry.h"

namespace orvik {
namespace {

using namespace std::chrono_literals;

constexpr auto kSensorStartTime = 20ms;
/// The width of the sensor for which the shortest lines are given.
constexpr int kReferenceWidth = 1304;

constexpr std::uint8_t lowByte(int value) { return static_cast<std::uint8_t>(value & 0xFF); }
constexpr std::uint8_t highByte(int value) { return static_cast<std::uint8_t>(value >> 8 & 0xFF); }

}  // namespace

template <class Base>
MarkedFrameCamera<Base>::MarkedFrameCamera(const ModelRow& row, const MarkedModel& marked,
                                           MarkedModelShared& shared, int deviceClass)
    : Base(row, identity::classGuid(deviceClass),
           std::make_shared<MarkedFrameProtocol>(marked.keepsSensorAwake)),
      marked_(marked),
      shared_(shared) {
  CameraState& now = state();
  now.autoMaxGain = marked.autoMaxGain;
  now.bandwidth = marked::automaticBandwidth(false);
  now.bandwidthAuto = row.bandwidthAutoSupported;
  now.clockKhz = marked.clockAtStartKhz;
  now.lineLength = marked.lineLengthAtStart;
  now.bandwidthUsb3 = marked::automaticBandwidth(true);
  this->LoadSetting(row.settingsKey);
}

template <class Base>
MarkedFrameCamera<Base>::~MarkedFrameCamera() {
  this->endCapture();
}

template <class Base>
bool MarkedFrameCamera<Base>::OpenCamera(int ordinal) {
  return this->openDevice(ordinal);
}

template <class Base>
bool MarkedFrameCamera<Base>::CloseCamera() {
  return this->closeDevice();
}

template <class Base>
bool MarkedFrameCamera<Base>::StartCapture(bool snapshot) {
  // A camera that was never told a region reads its whole sensor.
  if (isOpen() && !regionTold_) {
    SetResolution(state().width, state().height, state().bin, state().imageType);
  }
  return this->startCapture(snapshot);
}

template <class Base>
bool MarkedFrameCamera<Base>::StopCapture() {
  return this->stopCapture();
}

template <class Base>
bool MarkedFrameCamera<Base>::GetImage(unsigned char* buffer, int bufferSize,
                                       std::uint32_t waitMs) {
  return this->deliverImage(buffer, bufferSize, waitMs);
}

template <class Base>
bool MarkedFrameCamera<Base>::InitCamera() {
  if (!isOpen()) return false;
  const auto lock = lockSettings();
  state().usb3Host = this->IsUSB3Host();
  if (state().usb3Host) state().bandwidth = state().bandwidthUsb3.load();
  followHostPort();
  this->SetHPCStates(this->LoadHPCTable());
  this->readVersions();
  regionTold_ = false;  // the sensor starts anew
  playInitTable();
  startSensor();
  reapplyControls();
  this->onInitialised();
  return true;
}

template <class Base>
void MarkedFrameCamera<Base>::playInitTable() {
  for (const InitStep& step : marked_.initTable) {
    if (step.address == InitStep::kSleep) {
      this->clock().sleepFor(std::chrono::milliseconds(step.value));
    } else {
      link().writeSensorByte(step.address, static_cast<std::uint8_t>(step.value));
    }
  }
}

template <class Base>
void MarkedFrameCamera<Base>::startSensor() {
  for (const auto& [address, value] : kFixedSensorWrites) link().writeSensorByte(address, value);

  link().writeFpga(fpga::kMode, 0);
  this->clock().sleepFor(kSensorStartTime);
  this->StartSensorCLK();
  link().writeSensorByte(sensor::kMasterStart, 1);
  link().writeSensorByte(sensor::kSyncOutput, 0);

  link().writeFpga(fpga::kMode, 0x30);
  link().writeFpga(fpga::kDepth, fpga::kDepth8);
  const FpgaHold hold(link());
  for (const std::uint16_t channel : fpga::kColourGains) {
    link().writeFpga(channel, fpga::kUnityGain);
  }
}

template <class Base>
void MarkedFrameCamera<Base>::reapplyControls() {
  CameraState& now = state();
  this->SetGamma(now.gamma);
  SetRGBBalance(now.whiteBalanceRed, now.whiteBalanceBlue, now.whiteBalanceAuto);
  SetBrightness(now.brightness);
  if (now.bandwidthAuto) now.bandwidth = marked::automaticBandwidth(now.usb3Host);
  SetCMOSClk();
  SetGain(now.gain, now.gainAuto);
  SetExp(now.exposureUs, now.exposureAuto);
}

template <class Base>
bool MarkedFrameCamera<Base>::SetResolution(int width, int height, int bin, IMAGE_TYPE type) {
  if (!canDeliver(model(), width, height, bin, type)) return false;
  const auto lock = lockSettings();
  CameraState& now = state();
  const bool wasCapturing = now.capturing;
  const bool snapshot = now.snapshot;
  if (wasCapturing) StopCapture();
  this->forgetFrames();

  now.bin = bin;
  now.height = height;
  now.width = width;
  now.imageType = type;
  const SensorPosition start = centred(model(), width, height, bin);
  SetStartPos(start.x, start.y);
  SetOutput16Bits(type == IMAGE_GREY30 || type == IMAGE_RAW16);
  Cam_SetResolution();
  SetCMOSClk();
  SetFPSPerc(now.bandwidth, now.bandwidthAuto);
  SetExp(now.exposureUs, now.exposureAuto);
  restartCaptureAfter(wasCapturing, snapshot);
  return true;
}

template <class Base>
void MarkedFrameCamera<Base>::restartCaptureAfter(bool wasCapturing, bool snapshot) {
  if (wasCapturing) StartCapture(snapshot);
}

template <class Base>
bool MarkedFrameCamera<Base>::SetHardwareBin(bool on) {
  const auto lock = lockSettings();
  CameraState& now = state();
  if (now.bin == 1) {
    now.hardwareBin = on;
    return true;
  }
  // The worker measures frames by the flag, so it has to end before the flag changes.
  const bool wasCapturing = now.capturing;
  const bool snapshot = now.snapshot;
  StopCapture();
  now.hardwareBin = on;
  const SensorPosition held{now.startX, now.startY};
  SetResolution(now.width, now.height, now.bin, now.imageType);
  SetStartPos(held.x, held.y);
  restartCaptureAfter(wasCapturing, snapshot);
  return true;
}

template <class Base>
void MarkedFrameCamera<Base>::Cam_SetResolution() {
  const CameraState& now = state();
  regionTold_ = true;
  const FpgaHold hold(link());
  const bool onSensor = binsOnSensor();
  link().writeSensorByte(sensor::kMode, onSensor ? 0x22 : 0);
  link().writeFpga(fpga::kReadoutMode, onSensor ? 2 : 4);
  link().writeFpga(fpga::kReadoutTiming, onSensor ? 5 : 9);
  writeSensorPair(sensor::kAreaWidth, now.bin * now.width);
  writeSensorPair(sensor::kAreaHeight, now.bin * now.height);
  writeFpgaPair(fpga::kRows, now.rowsDelivered());
  writeFpgaPair(fpga::kColumns, now.columnsDelivered());
}

template <class Base>
bool MarkedFrameCamera<Base>::SetStartPos(int x, int y) {
  const auto lock = lockSettings();
  CameraState& now = state();
  const SensorPosition start = readablePosition(model(), {x, y}, now.width, now.height, now.bin);
  now.startX = start.x;
  now.startY = start.y;
  this->AdjustDarkBuff();
  this->AdjustHPCTable();
  const SensorHold hold(link());
  writeSensorPair(sensor::kAreaColumn, start.x);
  writeSensorPair(sensor::kAreaRow, start.y);
  return true;
}

template <class Base>
void MarkedFrameCamera<Base>::useClock(const marked::SensorClock& clock) {
  link().writeSensorByte(sensor::kClock, clock.registerValue);
  state().clockKhz = clock.khz;
  shared_.minLineLength = clock.minLineLength * model().maxWidth / kReferenceWidth;
}

template <class Base>
void MarkedFrameCamera<Base>::SetCMOSClk() {
  if (!isOpen()) return;
  useClock(marked::clockForMode(binsOnSensor(), state().highSpeedMode, state().output16Bits));
}

template <class Base>
bool MarkedFrameCamera<Base>::SetCMOSClk(int khz) {
  if (!isOpen()) return false;
  useClock(marked::clockForKhz(khz, binsOnSensor()));
  return true;
}

template <class Base>
void MarkedFrameCamera<Base>::SetOutput16Bits(bool on) {
  CameraState& now = state();
  now.output16Bits = on;
  if (now.highSpeedMode && !on && !binsOnSensor()) {  // 10 bits from the converter, twice as fast
    link().writeSensorByte(sensor::kConverter, 0xE0);
    link().writeSensorByte(sensor::kConverterDepth, 0);
    link().writeFpga(fpga::kDepth, fpga::kDepthFast);
  } else {
    link().writeSensorByte(sensor::kConverter, 0xE1);
    link().writeSensorByte(sensor::kConverterDepth, binsOnSensor() ? 0 : 1);
    link().writeFpga(fpga::kDepth, on ? fpga::kDepth16 : fpga::kDepth8);
  }
  followHostPort();
}

template <class Base>
void MarkedFrameCamera<Base>::followHostPort() {
  shared_.bytesPerPercent =
      state().usb3Host ? marked::kBytesPerPercentUsb3 : marked::kBytesPerPercentUsb2;
}

template <class Base>
bool MarkedFrameCamera<Base>::SetHighSpeedMode(bool on) {
  const auto lock = lockSettings();
  CameraState& now = state();
  now.highSpeedMode = on;
  if (binsOnSensor()) return true;
  SetOutput16Bits(now.output16Bits);
  SetCMOSClk();
  SetFPSPerc(now.bandwidth, now.bandwidthAuto);
  SetExp(now.exposureUs, now.exposureAuto);
  SetBrightness(now.brightness);
  return true;
}

template <class Base>
bool MarkedFrameCamera<Base>::SetFPSPerc(int percent, bool automatic) {
  const auto lock = lockSettings();
  CameraState& now = state();
  if (now.clockKhz < marked::kSlowestClockKhz) return false;
  const bool switchedOn = automatic && !now.bandwidthAuto;
  now.bandwidth = switchedOn ? marked::automaticBandwidth(now.usb3Host)
                             : std::clamp(percent, marked::kMinBandwidth, marked::kMaxBandwidth);
  now.bandwidthAuto = automatic;
  now.lineLength = marked::lineLengthFor(now.bandwidth, shared_.bytesPerPercent,
                                         now.rowsDelivered(), now.columnsDelivered(),
                                         now.output16Bits, now.clockKhz, shared_.minLineLength);
  {
    const FpgaHold hold(link());
    writeFpgaPair(fpga::kLineLength, now.lineLength);
  }
  SetExp(now.exposureUs, now.exposureAuto);
  CalcMaxFPS();
  return true;
}

template <class Base>
bool MarkedFrameCamera<Base>::GetFPSPerc(int* percent, bool* automatic) {
  *percent = state().bandwidth;
  *automatic = state().bandwidthAuto;
  return true;
}

template <class Base>
void MarkedFrameCamera<Base>::CalcMaxFPS() {
  constexpr std::uint64_t kShortExposureUs = 100'000;
  CameraState& now = state();
  if (now.exposureUs >= kShortExposureUs) return;
  const float rate = marked::maxFrameRate(now.rowsDelivered(), now.lineLength, now.clockKhz);
  now.maxFrameRate = rate;
  now.dataRate = rate * static_cast<float>(now.columnsDelivered()) *
                 static_cast<float>(now.rowsDelivered()) / 1000.0F / 1000.0F;
}

template <class Base>
bool MarkedFrameCamera<Base>::SetExp(std::uint64_t exposureUs, bool automatic) {
  const auto lock = lockSettings();
  CameraState& now = state();
  now.exposureAuto = automatic;
  now.exposureUs = std::clamp(exposureUs, marked::kMinExposureUs,
                              static_cast<std::uint64_t>(model().exposureUs.max));
  followLongExposure(now.exposureUs);

  const marked::ShutterTiming timing =
      marked::shutterFor(now.exposureUs, now.rowsDelivered(), now.lineLength, now.clockKhz);
  now.exposureLines = timing.exposureLines;
  SensorHold hold(link());
  {
    const FpgaHold fpgaHold(link());
    for (unsigned i = 0; i < 3; ++i) {
      link().writeFpga(static_cast<std::uint16_t>(fpga::kFrameLength + i),
                       static_cast<std::uint8_t>(timing.frameLength >> 8 * i));
    }
  }
  for (unsigned i = 0; i < 3; ++i) {
    link().writeSensorByte(static_cast<std::uint16_t>(sensor::kShutter + i),
                           static_cast<std::uint8_t>(timing.shutterStart >> 8 * i));
  }
  return hold.release();
}

template <class Base>
void MarkedFrameCamera<Base>::followLongExposure(std::uint64_t exposureUs) {
  CameraState& now = state();
  const bool isLong = exposureUs >= marked::kLongExposureUs;
  if (isLong == now.longExposure) return;
  link().writeSensorByte(sensor::kExposureMode, isLong ? 0xE1 : 0x21);
  if (!isLong) SetCMOSClk();
  now.longExposure = isLong;
}

template <class Base>
bool MarkedFrameCamera<Base>::SetGain(int gain, bool automatic) {
  const auto lock = lockSettings();
  CameraState& now = state();
  now.gain = std::clamp(gain, model().gain.min, model().gain.max);
  now.gainAuto = automatic;
  const SensorHold hold(link());
  writeSensorPair(sensor::kGain, now.gain);
  return true;
}

template <class Base>
bool MarkedFrameCamera<Base>::SetBrightness(int value) {
  const auto lock = lockSettings();
  state().brightness = std::clamp(value, model().brightness.min, model().brightness.max);
  link().writeSensorByte(sensor::kBlackLevel + 1, highByte(state().brightness));
  return link().writeSensorByte(sensor::kBlackLevel, lowByte(state().brightness));
}

template <class Base>
void MarkedFrameCamera<Base>::SetRGBBalance(int red, int blue, bool automatic) {
  const auto lock = lockSettings();
  CameraState& now = state();
  now.whiteBalanceRed = std::clamp(red, model().whiteBalanceMin, model().whiteBalanceMax);
  now.whiteBalanceBlue = std::clamp(blue, model().whiteBalanceMin, model().whiteBalanceMax);
  now.whiteBalanceAuto = automatic;
  const FpgaHold hold(link());
  link().writeFpga(fpga::kRedGain, static_cast<std::uint16_t>(now.whiteBalanceRed * 256 / 100));
  link().writeFpga(fpga::kBlueGain, static_cast<std::uint16_t>(now.whiteBalanceBlue * 256 / 100));
}

// Cooled cameras have a thermistor in the place of the thermometer chip, whose answer is
// a 12-bit two's complement number of 1/16 degree, its low four bits in the upper half of byte 0.
template <class Base>
float MarkedFrameCamera<Base>::GetSensorTemp() {
  if (model().cooled) return Base::GetSensorTemp();
  std::array<std::uint8_t, 2> answer{};
  if (!link().receive(static_cast<std::uint8_t>(VendorRequest::kTemperature), 0, 0, answer)) {
    return state().temperature;
  }
  const int raw = answer[1] * 16 + (answer[0] >> 4);
  if (raw != 0) {
    state().temperature = static_cast<float>(raw >= 2048 ? raw - 4096 : raw) * 0.0625F;
  }
  return state().temperature;
}

template <class Base>
void MarkedFrameCamera<Base>::writeFpgaPair(std::uint16_t address, int value) {
  link().writeFpga(address, lowByte(value));
  link().writeFpga(static_cast<std::uint16_t>(address + 1), highByte(value));
}

template <class Base>
void MarkedFrameCamera<Base>::writeSensorPair(std::uint16_t address, int value) {
  link().writeSensorByte(address, lowByte(value));
  link().writeSensorByte(static_cast<std::uint16_t>(address + 1), highByte(value));
}

template class MarkedFrameCamera<CCameraBase>;
template class MarkedFrameCamera<CCameraCool>;

}  // namespace orvik
