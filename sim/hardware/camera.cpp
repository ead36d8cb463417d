// SPDX-License-Identifier: MIT
#include "sim/hardware/camera.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "sim/hardware/readout.h"

namespace orvik::sim {
namespace {

enum Request : std::uint8_t {
  kCoreMemory = 0xA0,
  kStartStreaming = 0xA9,
  kHelperBlock = 0xA9,  ///< to the flash helper
  kStopStreaming = 0xAA,
  kFirmwareVersion = 0xAD,
  kStopSensorClock = 0xAE,
  kStartSensorClock = 0xAF,
  kGuideOn = 0xB0,
  kGuideOff = 0xB1,
  kCoolerDrive = 0xB2,
  kTemperature = 0xB3,
  kHostPort = 0xB4,
  kTransferCount = 0xB5,
  kWriteSensor = 0xB6,
  kReadSensor = 0xB7,
  kEeprom = 0xBA,
  kReadFpga = 0xBC,
  kWriteFpga = 0xBD,
  kWideBus = 0xBE,
  kWriteFlash = 0xC2,
  kReadFlash = 0xC3,
  kFlashSector = 0xC4,
  kThermistor = 0xC7,
};

constexpr std::uint8_t kFirmware = 0x12;

bool isIn(const seam::SetupPacket& setup) { return (setup.requestType & 0x80U) != 0; }

std::size_t give(std::span<const std::uint8_t> answer, std::span<std::uint8_t> room) {
  const std::size_t count = std::min(answer.size(), room.size());
  std::ranges::copy(answer.first(count), room.begin());
  return count;
}

}  // namespace

Camera::Camera(const Model& model, const CameraOptions& options, std::shared_ptr<seam::Clock> clock)
    : model_(model),
      usb3Port_(options.usb3Port),
      clock_(std::move(clock)),
      sensor_(model.sensor),
      flash_(options.flash),
      thermometer_(options.ambient, clock_->now()) {
  if (model.cooled) {
    cooler_.emplace(options.ambient, options.noise ? scramble(options.seed) : 0, clock_->now());
  }
}

std::optional<std::size_t> Camera::request(const seam::SetupPacket& setup,
                                           std::span<std::uint8_t> data) {
  std::optional<std::size_t> moved;
  if (setup.request == kCoreMemory || core_.running() != BridgeCore::Program::kFirmware) {
    moved = requestOfCore(setup, data);
  } else if (isIn(setup)) {
    moved = answer(setup, data);
  } else if (data.empty() ? command(setup) : take(setup, data)) {
    moved = data.size();
  }
  thermometer_.setWorking(runMode() != RunMode::kStopped, clock_->now());
  return moved;
}

std::optional<std::size_t> Camera::requestOfCore(const seam::SetupPacket& setup,
                                                 std::span<std::uint8_t> data) {
  bool done = false;
  if (setup.request == kCoreMemory) {
    const std::uint32_t address = static_cast<std::uint32_t>(setup.index) << 16U | setup.value;
    done = isIn(setup) ? core_.readMemory(address, data) : core_.writeMemory(address, data);
    if (core_.running() != BridgeCore::Program::kFirmware) streaming_ = false;
  } else if (core_.running() == BridgeCore::Program::kFlashHelper &&
             setup.request == kHelperBlock) {
    done = isIn(setup) ? core_.readEeprom(0, setup.value, data)
                       : core_.writeEeprom(0, setup.value, data);
  }
  return done ? std::optional(data.size()) : std::nullopt;
}

bool Camera::take(const seam::SetupPacket& setup, std::span<const std::uint8_t> data) {
  switch (setup.request) {
    case kWriteFlash:
      return writeFlash(setup, data);
    case kEeprom:
      return core_.writeEeprom(setup.value, setup.index, data);
    default:
      return false;
  }
}

bool Camera::command(const seam::SetupPacket& setup) {
  switch (setup.request) {
    case kStartStreaming:
    case kStopStreaming:
      streaming_ = setup.request == kStartStreaming;
      return true;
    case kStartSensorClock:
    case kStopSensorClock:
      sensorClockRuns_ = setup.request == kStartSensorClock;
      return true;
    case kGuideOn:
    case kGuideOff:
      return guidePort_.set(setup.value, setup.request == kGuideOn, clock_->now());
    case kCoolerDrive:
      if (!cooler_) return false;
      cooler_->setDrive(static_cast<std::uint8_t>(setup.value), clock_->now());
      return true;
    case kWriteSensor:
      return writeSensor(setup.value, setup.index);
    case kWriteFpga:
      fpga_.write(setup.value, static_cast<std::uint8_t>(setup.index));
      return true;
    case kWideBus:
      wideBusOn_ = setup.value != 0;
      return true;
    case kTransferCount:
      return true;  // the firmware splits frames as the host reads them
    case kFlashSector:
      return setup.value == 1 && flash_.eraseSector(setup.index);
    default:
      return false;
  }
}

std::optional<std::size_t> Camera::answer(const seam::SetupPacket& setup,
                                          std::span<std::uint8_t> data) {
  const auto oneByte = [&](std::uint8_t byte) { return give({&byte, 1}, data); };
  switch (setup.request) {
    case kFirmwareVersion:
      return give(std::array<std::uint8_t, 2>{'V', kFirmware}, data);
    case kTemperature:
      if (cooler_) return std::nullopt;
      return give(thermometer_.word(clock_->now()), data);
    case kThermistor:
      if (!cooler_) return std::nullopt;
      return give(cooler_->convert(clock_->now()), data);
    case kHostPort:
      return oneByte(usb3Port_ ? 1 : 0);
    case kReadSensor:
      // Without its clock the sensor does not acknowledge its address.
      if (!sensorClockRuns_) return std::nullopt;
      return oneByte(sensor_.read(setup.value));
    case kReadFpga:
      return oneByte(fpga_.read(setup.value));
    case kReadFlash:
      return readFlash(setup, data);
    case kEeprom:
      if (!core_.readEeprom(setup.value, setup.index, data)) return std::nullopt;
      return data.size();
    case kFlashSector:
      if (setup.value != 0) return std::nullopt;
      return oneByte(flash_.pollStatus());
    default:
      return std::nullopt;
  }
}

bool Camera::writeSensor(std::uint16_t address, std::uint16_t value) {
  if (!sensorClockRuns_) return false;
  sensor_.write(address, static_cast<std::uint8_t>(value));
  return true;
}

bool Camera::writeFlash(const seam::SetupPacket& setup, std::span<const std::uint8_t> data) {
  return !wideBusOn_ && flash_.write(setup.index, data);
}

std::optional<std::size_t> Camera::readFlash(const seam::SetupPacket& setup,
                                             std::span<std::uint8_t> data) const {
  if (wideBusOn_ || !flash_.read(setup.index, data)) return std::nullopt;
  return data.size();
}

void Camera::busReset() {
  streaming_ = false;
  thermometer_.setWorking(false, clock_->now());
}

RunMode Camera::runMode() const {
  const bool sensorWorks = sensorClockRuns_ && !sensor_.standby();
  return streaming_ && sensorWorks ? fpga_.runMode() : RunMode::kStopped;
}

double Camera::sensorCelsius() const {
  return cooler_ ? cooler_->celsius(clock_->now()) : thermometer_.celsius(clock_->now());
}

CaptureState Camera::captureState() const {
  CaptureState state;
  state.mode = runMode();
  state.shutterOpen = fpga_.shutterOpen();
  if (state.mode == RunMode::kStopped) return state;
  state.settings = decodeReadout(sensor_, fpga_, model_.sensor);
  if (state.settings) {
    // In half degrees, so that warming up does not change the picture at every frame.
    state.settings->celsius = std::round(sensorCelsius() * 2) / 2;
  }
  return state;
}

}  // namespace orvik::sim
