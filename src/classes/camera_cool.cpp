// SPDX-License-Identifier: MIT
#include "orvik/camera_cool.h"

#include <algorithm>
#include <cmath>

#include "classes/camera_impl.h"
#include "cooler/cooled_camera.h"
#include "cooler/drive_law.h"

namespace orvik {

using classes::put;

namespace {

/// Runs `body(camera)` for a cooled camera.
template <class Impl, class Result, class Body>
Result onCooled(Impl* impl, Result onFailure, Body body) noexcept {
  return classes::onCamera(impl, onFailure, [&](Camera& camera) {
    CooledCamera* const cooled = camera.cooled();
    return cooled != nullptr ? body(*cooled) : onFailure;
  });
}

template <class Impl, class Body>
void withCooled(Impl* impl, Body body) noexcept {
  onCooled(impl, false, [&](CooledCamera& camera) {
    body(camera);
    return true;
  });
}

}  // namespace

CCameraCool::CCameraCool(std::unique_ptr<Impl> impl) noexcept : CCameraBase(std::move(impl)) {}

CCameraCool::~CCameraCool() = default;

void CCameraCool::SetDA(int da) noexcept {
  constexpr int kLargest = 255;  // the converter has 8 bits
  withCooled(impl(),
             [&](CooledCamera& camera) { camera.cooler().setDrive(std::clamp(da, 0, kLargest)); });
}

int CCameraCool::CalculDA(float current) noexcept {
  return cooler::driveForCurrent(std::isnan(current) ? 0.0F : current);
}

int CCameraCool::CalculIPerc(int da) noexcept { return cooler::percentForDrive(da); }

void CCameraCool::SetPowerPerc(float perc) noexcept {
  withCooled(impl(), [&](CooledCamera& camera) { camera.cooler().setPower(perc); });
}

int CCameraCool::GetPowerPerc() const noexcept {
  return onCooled(impl(), 0, [](CooledCamera& camera) { return camera.cooler().power(); });
}

void CCameraCool::SetAutoTemp(bool on, float target) noexcept {
  withCooled(impl(), [&](CooledCamera& camera) { camera.cooler().setRegulation(on, target); });
}

void CCameraCool::GetAutoTemp(bool* on, float* target) const noexcept {
  withCooled(impl(), [&](CooledCamera& camera) {
    put(on, camera.state().coolerOn.load());
    put(target, camera.state().targetTemperature.load());
  });
}

void CCameraCool::PID_init(float kp, float ki, float kd) noexcept {
  withCooled(impl(), [&](CooledCamera& camera) {
    camera.cooler().resetController({.proportional = kp, .integral = ki, .differential = kd});
  });
}

void CCameraCool::AutoTemp(float temperature) noexcept {
  withCooled(impl(), [&](CooledCamera& camera) {
    if (std::isfinite(temperature)) camera.cooler().regulate(temperature);
  });
}

bool CCameraCool::IsAutoTempWorking() const noexcept {
  return onCooled(impl(), false, [](CooledCamera& camera) { return camera.isThreadRunning(); });
}

void CCameraCool::StartAutoTempThr() noexcept {
  withCooled(impl(), [](CooledCamera& camera) {
    if (camera.isOpen()) camera.startThread();
  });
}

void CCameraCool::StopAutoTempThr() noexcept {
  withCooled(impl(), [](CooledCamera& camera) { camera.stopThread(); });
}

float CCameraCool::GetADTemp() noexcept {
  return onCooled(impl(), 0.0F,
                  [](CooledCamera& camera) { return camera.cooler().readTemperature(); });
}

float CCameraCool::CalculTempuature(unsigned char ad, int refKOhm) noexcept {
  return onCooled(impl(), 0.0F, [&](CooledCamera& camera) {
    return camera.cooler().believedCelsius(ad, refKOhm);
  });
}

}  // namespace orvik
