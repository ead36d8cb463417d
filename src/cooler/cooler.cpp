// SPDX-License-Identifier: MIT
#include "cooler/cooler.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <limits>
#include <utility>

#include "cooler/drive_law.h"
#include "cooler/thermistor.h"

namespace orvik::cooler {
namespace {

constexpr int kDriveOff = 255;
constexpr int kReferenceKiloOhms = 10;
constexpr PidController::Gains kRegulationGains = {
    .proportional = 0.2F, .integral = 0, .differential = 0.6F};

int wholeDegrees(float celsius) {
  if (std::isnan(celsius)) return 0;
  using Limits = std::numeric_limits<int>;
  return static_cast<int>(
      std::clamp<double>(static_cast<double>(celsius), Limits::min(), Limits::max()));
}

std::uint32_t milliseconds(seam::Clock::Duration time) {
  using std::chrono::duration_cast;
  return static_cast<std::uint32_t>(duration_cast<std::chrono::milliseconds>(time).count());
}

}  // namespace

Cooler::Cooler(std::shared_ptr<CameraState> state, std::shared_ptr<VendorLink> link,
               std::shared_ptr<seam::Clock> clock)
    : state_(std::move(state)), link_(std::move(link)), clock_(std::move(clock)) {
  controller_.reset(kRegulationGains);
}

void Cooler::begin() {
  const Lock lock(mutex_);
  requested_.reset();
  acknowledged_.reset();
  reading_ = {};
  readableAt_ = clock_->now();
  state_->temperatureAt = CameraState::kNever;
  state_->temperatureValid = false;
  state_->coolerFault = CoolerFault::kNone;
}

void Cooler::setDrive(int drive) {
  const Lock lock(mutex_);
  requestDrive(drive);
}

bool Cooler::setPower(float percent) {
  const Lock lock(mutex_);
  return requestPower(percent);
}

void Cooler::resetController(const PidController::Gains& gains) {
  const Lock lock(mutex_);
  controller_.reset(gains);
}

void Cooler::setRegulation(bool on, float target) {
  const Lock lock(mutex_);
  changeRegulation(on, wholeDegrees(target));
}

void Cooler::setTarget(int celsius) {
  const Lock lock(mutex_);
  changeRegulation(state_->coolerOn, celsius);
}

bool Cooler::setOn(bool on) {
  const Lock lock(mutex_);
  changeRegulation(on, state_->targetTemperature);
  return on || requestPower(0);
}

void Cooler::changeRegulation(bool on, int target) {
  state_->coolerOn = on;
  state_->targetTemperature = target;
  controller_.reset(kRegulationGains);
}

void Cooler::regulate(float celsius) {
  const Lock lock(mutex_);
  step(celsius);
}

void Cooler::regulate(const StopSwitch& work) {
  const Lock lock(mutex_);
  if (!work.running() || state_->coolerFault != CoolerFault::kNone) return;
  followLink();
  if (reading_.kind == Reading::Kind::kCelsius) step(reading_.celsius);
  if (reading_.kind == Reading::Kind::kTooCold) step(kLowestCelsius);
}

void Cooler::step(float celsius) {
  if (!filter_.accept(celsius, milliseconds(clock_->now())) || !state_->coolerOn) return;
  const float error = static_cast<float>(aimOf(state_->targetTemperature)) - celsius;
  const float output = controller_.step(error);
  movePower(state_->coolerPower, output, error, [this](float percent) {
    const auto before = requested_;
    return !requestPower(percent) || requested_ != before;
  });
}

bool Cooler::requestPower(float percent) {
  const float usable = usablePercent(percent);
  if (!requestDrive(driveForCurrent(currentForPercent(usable)))) return false;
  state_->coolerPower = usable;
  return true;
}

bool Cooler::requestDrive(int drive) {
  requested_ = drive;
  if (acknowledged_ == drive) return true;
  acknowledged_.reset();  // unknown until acknowledged: a lost request may have arrived or not
  const bool done = drive == kDriveOff ? link_->sendSafe(SafeRequest::kCoolerOff)
                                       : link_->send(VendorRequest::kCoolerDrive,
                                                     static_cast<std::uint16_t>(drive));
  if (done) acknowledged_ = drive;
  return done;
}

/// The link repeats a lost request to switch off the power, so it may have been acknowledged since.
void Cooler::followLink() {
  if (acknowledged_ || requested_ != kDriveOff || !link_->isSettled(SafeRequest::kCoolerOff))
    return;
  acknowledged_ = kDriveOff;
  state_->coolerPower = 0;
}

Cooler::Reading Cooler::read() {
  using enum Reading::Kind;
  std::array<std::uint8_t, 2> answer{};
  if (!link_->receive(VendorRequest::kThermistor, 0, 0, answer)) return {};
  const std::uint8_t value = converterValue(answer[0], answer[1]);
  if (const auto celsius = thermistorCelsius(value, kReferenceKiloOhms)) {
    lastCelsius_ = *celsius;
    return {.kind = kCelsius, .celsius = *celsius};
  }
  return {.kind = isColderThanRange(value, kReferenceKiloOhms) ? kTooCold : kNonsense};
}

float Cooler::believedCelsius(std::uint8_t value, int referenceKiloOhms) {
  const auto celsius = thermistorCelsius(value, referenceKiloOhms);
  if (celsius) lastCelsius_ = *celsius;
  return celsius.value_or(lastCelsius_);
}

float Cooler::readTemperature() {
  const Reading reading = read();
  return reading.kind == Reading::Kind::kCelsius ? reading.celsius : lastCelsius_.load();
}

float Cooler::measure() {
  const Reading reading = read();
  const Lock lock(mutex_);
  note(reading);
  followLink();
  watchReadings();
  return state_->temperature;
}

void Cooler::note(const Reading& reading) {
  reading_ = reading;
  if (reading.kind != Reading::Kind::kCelsius) {
    state_->temperatureValid = false;
    return;
  }
  readableAt_ = clock_->now();
  state_->noteTemperature(reading.celsius, readableAt_);
  if (state_->coolerFault.exchange(CoolerFault::kNone) != CoolerFault::kNone) {
    controller_.reset(kRegulationGains);
  }
}

void Cooler::watchReadings() {
  if (clock_->now() - readableAt_ <= kReadingLifetime) return;
  const bool answers = reading_.kind != Reading::Kind::kNoAnswer;
  state_->coolerFault = answers ? CoolerFault::kOutOfRange : CoolerFault::kNoReading;
  if (state_->coolerOn) requestPower(0);
}

}  // namespace orvik::cooler
