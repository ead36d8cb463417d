// SPDX-License-Identifier: MIT
#include "cooler/cooled_camera.h"

#include <chrono>
#include <utility>

#include "cooler/auto_temperature.h"

namespace orvik {

CooledCamera::CooledCamera(const ModelRow& model, std::shared_ptr<const FrameProtocol> protocol)
    : Camera(model, std::move(protocol)),
      cooler_(std::make_shared<cooler::Cooler>(sharedState(), sharedLink(), sharedClock())) {}

// The destructor of the model has done this already, while the camera still answered. Repeated here
// so that the thread ends in any case.
CooledCamera::~CooledCamera() { CooledCamera::onClosing(); }

bool CooledCamera::setTargetTemperature(int celsius) {
  cooler_->setTarget(celsius);
  return true;
}

bool CooledCamera::switchCooler(bool on) { return cooler_->setOn(on); }

float CooledCamera::readTemperature() { return cooler_->measure(); }

void CooledCamera::startThread() {
  if (threadRunning_) return;
  stop_ = std::make_shared<StopSwitch>(sharedClock());
  threadRunning_ = thread_.start([cooler = cooler_, state = sharedState(), stop = stop_] {
    cooler::keepTemperature(*cooler, *state, *stop);
  });
}

void CooledCamera::stopThread() {
  using namespace std::chrono_literals;
  constexpr auto kStopTimeout = 500ms;
  if (!threadRunning_) return;
  threadRunning_ = false;
  stop_->stop();
  thread_.join(kStopTimeout);
  state().temperatureKept = false;
  cooler_->setPower(0);
}

void CooledCamera::onInitialised() {
  cooler_->begin();
  startThread();
  cooler_->setPower(0);
  cooler_->setRegulation(false, static_cast<float>(state().targetTemperature));
}

void CooledCamera::onClosing() {
  if (threadRunning_) {
    stopThread();
  } else if (isOpen()) {
    cooler_->setPower(0);
  }
}

}  // namespace orvik
