// SPDX-License-Identifier: MIT
#include "models/marked_frame_camera.h"

#include <chrono>
#include <memory>

#include "cooler/cooled_camera.h"
#include "models/marked_frame_protocol.h"
#include "models/marked_registers.h"
#include "models/register_hold.h"

namespace orvik {
namespace {

using namespace std::chrono_literals;

constexpr auto kSensorStartTime = 20ms;
/// The width of the sensor for which the line lengths are given.
constexpr int kReferenceWidth = 1304;
constexpr int kClockAtStartKhz = 9281;
constexpr int kLineLengthAtStart = 292;

constexpr std::uint8_t lowByte(int value) { return static_cast<std::uint8_t>(value & 0xFF); }
constexpr std::uint8_t highByte(int value) { return static_cast<std::uint8_t>(value >> 8 & 0xFF); }

/// Scales a line length, clock cycles, to the width of the model's sensor.
int scaledToWidth(int lineLength, const ModelRow& model) {
  return lineLength * model.maxWidth / kReferenceWidth;
}

}  // namespace

template <class Base>
MarkedFrameCamera<Base>::MarkedFrameCamera(const ModelRow& row, const MarkedFacts& facts)
    : ModelCamera<Base>(row, std::make_shared<MarkedFrameProtocol>(facts.keepsSensorAwake)),
      facts_(facts) {
  state().clockKhz = kClockAtStartKhz;
  state().lineLength = scaledToWidth(kLineLengthAtStart, row);
  this->loadSettings(row.settingsName);
}

template <class Base>
LineLimits MarkedFrameCamera<Base>::lineLimits() const {
  return {.bytesPerPercent = bytesPerPercent_, .minLineLength = minLineLength_};
}

template <class Base>
void MarkedFrameCamera<Base>::startSensor() {
  followHostPort();
  playInitTable();
  for (const auto& [address, value] : kFixedSensorWrites) link().writeSensorByte(address, value);

  link().writeFpga(fpga::kMode, fpga::kModeReset);
  this->clock().sleepFor(kSensorStartTime);
  link().startSensorClock();
  link().writeSensorByte(sensor::kMasterStart, 1);
  link().writeSensorByte(sensor::kSyncOutput, 0);

  link().writeFpga(fpga::kMode, fpga::kModeReady);
  link().writeFpga(fpga::kDepth, fpga::kDepth8);
  const FpgaHold hold(link());
  for (const std::uint16_t channel : fpga::kColourGains) {
    link().writeFpga(channel, fpga::kUnityGain);
  }
}

template <class Base>
void MarkedFrameCamera<Base>::playInitTable() {
  for (const InitStep& step : facts_.initTable) {
    if (step.address == InitStep::kSleep) {
      this->clock().sleepFor(std::chrono::milliseconds(step.value));
    } else {
      link().writeSensorByte(step.address, static_cast<std::uint8_t>(step.value));
    }
  }
}

template <class Base>
void MarkedFrameCamera<Base>::writeRegionSize() {
  const CameraState& now = state();
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
void MarkedFrameCamera<Base>::writeStartPosition() {
  const SensorHold hold(link());
  writeSensorPair(sensor::kAreaColumn, state().startX);
  writeSensorPair(sensor::kAreaRow, state().startY);
}

template <class Base>
void MarkedFrameCamera<Base>::useClock(const marked::SensorClock& clock) {
  link().writeSensorByte(sensor::kClock, clock.registerValue);
  state().clockKhz = clock.khz;
  minLineLength_ = scaledToWidth(clock.minLineLength, model());
}

template <class Base>
void MarkedFrameCamera<Base>::selectClock() {
  if (!isOpen()) return;
  useClock(marked::clockForMode(binsOnSensor(), state().highSpeedMode, state().output16Bits));
}

template <class Base>
bool MarkedFrameCamera<Base>::selectClock(int khz) {
  if (!isOpen()) return false;
  useClock(marked::clockForKhz(khz, binsOnSensor()));
  return true;
}

template <class Base>
void MarkedFrameCamera<Base>::setSampleDepth(bool on) {
  CameraState& now = state();
  now.output16Bits = on;
  if (now.highSpeedMode && !on && !binsOnSensor()) {  // 10 converter bits, twice as fast
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
int MarkedFrameCamera<Base>::converterBits() const {
  const CameraState& now = state();
  const bool fast = now.highSpeedMode && !now.output16Bits;
  return fast || this->binsOnSensor() ? 10 : 12;
}

template <class Base>
void MarkedFrameCamera<Base>::followHostPort() {
  bytesPerPercent_ = state().usb3Host ? kBytesPerPercentUsb3 : kBytesPerPercentUsb2;
}

template <class Base>
void MarkedFrameCamera<Base>::writeLineLength() {
  const FpgaHold hold(link());
  writeFpgaPair(fpga::kLineLength, state().lineLength);
}

template <class Base>
bool MarkedFrameCamera<Base>::writeExposure() {
  followLongExposure();
  CameraState& now = state();
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
void MarkedFrameCamera<Base>::followLongExposure() {
  CameraState& now = state();
  const bool isLong = now.exposureUs >= marked::kLongExposureUs;
  if (isLong == now.longExposure) return;
  link().writeSensorByte(sensor::kExposureMode, isLong ? 0xE1 : 0x21);
  if (!isLong) selectClock();
  now.longExposure = isLong;
}

template <class Base>
void MarkedFrameCamera<Base>::writeGain() {
  const SensorHold hold(link());
  writeSensorPair(sensor::kGain, state().gain);
}

template <class Base>
bool MarkedFrameCamera<Base>::writeBrightness() {
  const int level = state().brightness;
  link().writeSensorByte(sensor::kBlackLevel + 1, highByte(level));
  return link().writeSensorByte(sensor::kBlackLevel, lowByte(level));
}

template <class Base>
void MarkedFrameCamera<Base>::writeWhiteBalance() {
  const FpgaHold hold(link());
  link().writeFpga(fpga::kRedGain, static_cast<std::uint16_t>(state().whiteBalanceRed * 256 / 100));
  link().writeFpga(fpga::kBlueGain,
                   static_cast<std::uint16_t>(state().whiteBalanceBlue * 256 / 100));
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

template class MarkedFrameCamera<Camera>;
template class MarkedFrameCamera<CooledCamera>;

}  // namespace orvik
