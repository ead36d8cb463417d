// SPDX-License-Identifier: MIT
#include "sim/hardware/camera.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "sim/hardware/answer.h"
#include "sim/hardware/vendor_requests.h"

namespace orvik::sim {
namespace {

constexpr std::uint8_t kFirmware = 0x12;
constexpr std::size_t kMostStrays = 1000;  // later ones are not recorded

bool isIn(const seam::SetupPacket& setup) { return (setup.requestType & 0x80U) != 0; }

}  // namespace

Camera::Camera(const Model& model, const CameraOptions& options, std::shared_ptr<seam::Clock> clock)
    : superSpeed_(model.superSpeed() && options.usb3Port),
      hasThermometer_(model.thermometer),
      clock_(std::move(clock)),
      board_(makeBoard(model)),
      flash_(options.flash),
      telescope_(options.telescope, options.seed, clock_->now()),
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
  noteStray(setup, !moved);
  thermometer_.setWorking(runMode() != RunMode::kStopped, clock_->now());
  return moved;
}

void Camera::noteStray(const seam::SetupPacket& setup, bool refused) {
  const bool stray = refused || !board_->holds(setup.request, setup.value);
  if (stray && strays_.size() < kMostStrays) strays_.push_back({setup, refused});
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

bool Camera::unheard(std::uint8_t request) const {
  switch (request) {
    case kWriteSensor:
    case kReadSensor:
    case kWriteSensorWord:
    case kReadSensorWord:
      return sensorClock_ == SensorClock::kStopped;
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
      sensorClock_ =
          setup.request == kStartSensorClock ? SensorClock::kRuns : SensorClock::kStopped;
      return true;
    case kGuideOn:
    case kGuideOff:
      return guide(setup.value, setup.request == kGuideOn);
    case kCoolerDrive:
      if (!cooler_) return false;
      cooler_->setDrive(static_cast<std::uint8_t>(setup.value), clock_->now());
      return true;
    case kWideBus:
      wideBusOn_ = setup.value != 0;
      return true;
    case kTransferCount:
      return true;  // the firmware splits frames as the host reads them
    case kFlashSector:
      return setup.value == 1 && flash_.eraseSector(setup.index);
    default:
      return !unheard(setup.request) && board_->command(setup.request, setup.value, setup.index);
  }
}

bool Camera::guide(int line, bool on) {
  const seam::Clock::Duration now = clock_->now();
  if (!guidePort_.set(line, on, now)) return false;
  telescope_.guide(line, on, now);
  return true;
}

std::optional<std::size_t> Camera::answer(const seam::SetupPacket& setup,
                                          std::span<std::uint8_t> data) {
  switch (setup.request) {
    case kFirmwareVersion:
      return give(std::array<std::uint8_t, 2>{'V', kFirmware}, data);
    case kTemperature:
      if (cooler_ || !hasThermometer_) return std::nullopt;
      return give(thermometer_.word(clock_->now()), data);
    case kThermistor:
      if (!cooler_) return std::nullopt;
      return give(cooler_->convert(clock_->now()), data);
    case kHostPort:
      return giveByte(superSpeed_ ? 1 : 0, data);
    case kReadFlash:
      return readFlash(setup, data);
    case kEeprom:
      if (!core_.readEeprom(setup.value, setup.index, data)) return std::nullopt;
      return data.size();
    case kFlashSector:
      if (setup.value != 0) return std::nullopt;
      return giveByte(flash_.pollStatus(), data);
    default:
      if (unheard(setup.request)) return std::nullopt;
      return board_->answer(setup.request, setup.value, data);
  }
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
  const bool flows = streaming_ && wideBusOn_ && sensorClock_ == SensorClock::kRuns;
  return flows ? board_->runMode() : RunMode::kStopped;
}

double Camera::sensorCelsius() const {
  return cooler_ ? cooler_->celsius(clock_->now()) : thermometer_.celsius(clock_->now());
}

CaptureState Camera::captureState() const {
  CaptureState state;
  state.mode = runMode();
  state.bridgeStreams = streaming_;
  state.shutterOpen = board_->shutterOpen();
  if (state.mode == RunMode::kStopped) return state;
  state.settings = board_->frameSettings();
  if (state.settings) {
    // Rounded to half degrees, so that warming up does not change the picture with every frame.
    state.settings->celsius = std::round(sensorCelsius() * 2) / 2;
  }
  return state;
}

}  // namespace orvik::sim
