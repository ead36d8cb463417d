// SPDX-License-Identifier: MIT
#include "cooler/cooler.h"

#include <algorithm>
#include <array>
#include <atomic>
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

// Shared by all cameras of the process on purpose: a value that one was sent is not sent again to
// another, and one whose thermistor does not answer shows what was last read.
std::atomic<int> lastDriveSent{0};
std::atomic<float> lastCelsius{0};

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

float believedCelsius(std::uint8_t value, int referenceKiloOhms) {
  const auto celsius = thermistorCelsius(value, referenceKiloOhms);
  if (celsius) lastCelsius = *celsius;
  return celsius.value_or(lastCelsius);
}

Cooler::Cooler(std::shared_ptr<CameraState> state, std::shared_ptr<VendorLink> link,
               std::shared_ptr<seam::Clock> clock)
    : state_(std::move(state)), link_(std::move(link)), clock_(std::move(clock)) {
  controller_.reset(kRegulationGains);
}

void Cooler::setDrive(int drive) {
  const Lock lock(mutex_);
  requestDrive(drive);
}

void Cooler::setPower(float percent) {
  const Lock lock(mutex_);
  requestPower(percent);
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

void Cooler::setOn(bool on) {
  const Lock lock(mutex_);
  changeRegulation(on, state_->targetTemperature);
  if (!on) requestPower(0);
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
  if (work.running()) step(state_->temperature);
}

void Cooler::step(float celsius) {
  if (!filter_.accept(celsius, milliseconds(clock_->now())) || !state_->coolerOn) return;
  const float error = static_cast<float>(state_->targetTemperature) - celsius;
  const float output = controller_.step(error);
  movePower(state_->coolerPower, output, error, [this](float percent) {
    const auto before = drive_;
    requestPower(percent);
    return drive_ != before;
  });
}

void Cooler::requestPower(float percent) {
  const float usable = usablePercent(percent);
  requestDrive(driveForCurrent(currentForPercent(usable)));
  state_->coolerPower = usable;
}

void Cooler::requestDrive(int drive) {
  if (lastDriveSent.exchange(drive) == drive) return;
  sendDrive(drive);
}

void Cooler::sendDrive(int drive) {
  drive_ = drive;
  link_->send(static_cast<std::uint8_t>(VendorRequest::kCoolerDrive),
              static_cast<std::uint16_t>(drive));
}

float Cooler::readTemperature() const {
  std::array<std::uint8_t, 2> answer{};
  if (!link_->receive(static_cast<std::uint8_t>(VendorRequest::kThermistor), 0, 0, answer)) {
    answer = {};  // 0 is no temperature
  }
  return believedCelsius(converterValue(answer[0], answer[1]), kReferenceKiloOhms);
}

float Cooler::measure() {
  const float celsius = readTemperature();
  state_->temperature = celsius;
  state_->temperatureRead = true;
  return celsius;
}

void Cooler::switchOff() {
  const Lock lock(mutex_);
  requestPower(0);
  // Another camera's value may have stood in for this one's, but a cooler must not be left running.
  if (drive_ && drive_ != kDriveOff) sendDrive(kDriveOff);
}

}  // namespace orvik::cooler
