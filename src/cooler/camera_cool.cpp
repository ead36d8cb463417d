// SPDX-License-Identifier: MIT
#include "cooler/camera_cool.h"

#include <chrono>
#include <utility>

#include "cooler/auto_temperature.h"
#include "cooler/drive_law.h"

namespace orvik {

CCameraCool::CCameraCool(const ModelRow& model, std::shared_ptr<const FrameProtocol> protocol)
    : CCameraBase(model, std::move(protocol)),
      cooler_(std::make_shared<cooler::Cooler>(sharedState(), sharedLink(), sharedClock())) {}

// The model's destructor has done it while the camera still answered; but no thread outlives this.
CCameraCool::~CCameraCool() { CCameraCool::onClosing(); }

void CCameraCool::SetDA(int da) { cooler_->setDrive(da); }

int CCameraCool::CalculDA(float current) { return cooler::driveForCurrent(current); }

int CCameraCool::CalculIPerc(int da) { return cooler::percentForDrive(da); }

void CCameraCool::SetPowerPerc(float perc) { cooler_->setPower(perc); }

int CCameraCool::GetPowerPerc() const { return static_cast<int>(state().coolerPower); }

void CCameraCool::PID_init(float kp, float ki, float kd) {
  cooler_->resetController({.proportional = kp, .integral = ki, .differential = kd});
}

void CCameraCool::SetAutoTemp(bool on, float target) { cooler_->setRegulation(on, target); }

void CCameraCool::SetTargetTemp(int target) { cooler_->setTarget(target); }

bool CCameraCool::SwitchCooler(bool on) { return cooler_->setOn(on); }

void CCameraCool::GetAutoTemp(bool* on, float* target) const {
  *on = state().coolerOn;
  *target = static_cast<float>(state().targetTemperature);
}

void CCameraCool::AutoTemp(float temperature) { cooler_->regulate(temperature); }

void CCameraCool::StartAutoTempThr() {
  if (autoTempWorking_) return;
  work_ = std::make_shared<StopSwitch>(sharedClock());
  autoTempWorking_ = thread_.start([cooler = cooler_, state = sharedState(), work = work_] {
    cooler::keepTemperature(*cooler, *state, *work);
  });
}

void CCameraCool::StopAutoTempThr() {
  using namespace std::chrono_literals;
  constexpr auto kStopLimit = 500ms;
  if (!autoTempWorking_) return;
  autoTempWorking_ = false;
  work_->stop();
  thread_.join(kStopLimit);
  sharedState()->temperatureKept = false;
  SetPowerPerc(0);
}

float CCameraCool::GetADTemp() { return cooler_->readTemperature(); }

float CCameraCool::CalculTempuature(unsigned char ad, int refKOhm) {
  return cooler_->believedCelsius(ad, refKOhm);
}

float CCameraCool::GetSensorTemp() { return cooler_->measure(); }

void CCameraCool::onInitialised() {
  cooler_->begin();
  StartAutoTempThr();
  SetPowerPerc(0);
  SetAutoTemp(false, static_cast<float>(state().targetTemperature));
}

void CCameraCool::onClosing() {
  if (autoTempWorking_) {
    StopAutoTempThr();
  } else if (isOpen()) {
    SetPowerPerc(0);
  }
}

}  // namespace orvik
