// SPDX-License-Identifier: MIT
// Connection, settings, cooler and guide port. The exposures are in camera_exposure.cpp.
#include "integrations/server/alpaca/alpaca_camera.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <string>
#include <utility>

namespace orvik::server {
namespace {

AlpacaError invalidValue(const std::string& message) {
  return {ErrorNumber::kInvalidValue, message};
}

/// The value that the page has set, with which the settings of clients begin.
int presentValue(const CameraStatus& status, const Control* control) {
  if (control == nullptr) return 0;
  const auto found = std::ranges::find_if(
      status.controls, [&](const ControlState& one) { return one.type == control->type(); });
  return found == status.controls.end() ? control->defaultValue() : found->now.value;
}

void checkLimits(const Control& control, int value) {
  if (value >= control.min() && value <= control.max()) return;
  throw invalidValue(std::to_string(value) + " is outside " + std::to_string(control.min()) +
                     " to " + std::to_string(control.max()) + ".");
}

Done answering(const PutDone& done) {
  return [done](const Outcome& outcome) {
    if (outcome) {
      done(errorOf(*outcome));
    } else {
      done({});
    }
  };
}

}  // namespace

std::vector<ReadoutMode> readoutModes(const ServedCamera::Description& camera) {
  constexpr int kMax16 = 65535;
  constexpr int kMax8 = 255;
  const auto types = imageTypesOf(camera.info);
  std::vector<ReadoutMode> modes;
  if (std::ranges::find(types, Orvik_IMG_RAW16) != types.end()) {
    modes.push_back({"16 bit", Orvik_IMG_RAW16, false, kMax16});
  }
  modes.push_back({"8 bit", Orvik_IMG_RAW8, false, kMax8});
  if (camera.control(Orvik_CTL_HIGH_SPEED_MODE) != nullptr) {
    modes.push_back({"8 bit fast", Orvik_IMG_RAW8, true, kMax8});
  }
  return modes;
}

std::shared_ptr<AlpacaCamera> AlpacaCamera::make(std::shared_ptr<ServedCamera> served,
                                                 const GuideWiring& wiring) {
  std::shared_ptr<AlpacaCamera> camera(new AlpacaCamera(std::move(served), wiring));
  camera->follow();
  camera->watch_ = camera->served_->onChange([raw = camera.get()] { raw->follow(); });
  return camera;
}

void AlpacaCamera::follow() {
  std::unique_lock lock(mutex_);
  const int connection = connections_;
  lock.unlock();
  const bool isOpen = served_->isOpenFor(User::kAlpaca);
  const auto description = served_->description();
  lock.lock();
  if (description) description_ = description;
  // Not if it was connected anew since it was asked.
  if (isOpen || !isConnected_ || connection != connections_) return;
  isConnected_ = false;
  isWanted_ = false;
  forget();  // its lines are off
}

CameraView AlpacaCamera::view() const {
  CameraView view;
  view.identity = served_->identity();
  view.status = served_->status();
  const bool isOpen = served_->isOpenFor(User::kAlpaca);
  const bool lineIsOn =
      std::ranges::find(view.status->guideLines, true) != view.status->guideLines.end();
  const std::scoped_lock lock(mutex_);
  const auto now = ExposureState::Clock::now();
  view.description = description_;
  view.isConnected = isConnected_ && isOpen;
  view.isConnecting = transitions_ > 0;
  view.connectFailure = connectFailure_;
  view.settings = settings_;
  view.state = exposures_->state(now);
  view.percent = exposures_->percent(now);
  view.exposureFailure = exposures_->failure();
  view.image = exposures_->image();
  if (const TakenImage* last = exposures_->last()) {
    view.lastExposure = last->exposure;
    view.lastStart = last->start;
  }
  view.isPulsing = lineIsOn || std::ranges::any_of(pulses_, [](int count) { return count > 0; });
  view.pulseFailure = pulseFailure_;
  return view;
}

void AlpacaCamera::connect(const PutDone& done) {
  follow();
  std::unique_lock lock(mutex_);
  isWanted_ = true;
  if (isConnected_) {
    lock.unlock();
    done({});
    return;
  }
  ++transitions_;
  connectFailure_.reset();
  lock.unlock();
  served_->open(User::kAlpaca, [self = shared_from_this(), done](const Outcome& outcome) {
    self->opened(outcome, done);
  });
}

void AlpacaCamera::opened(const Outcome& outcome, const PutDone& done) {
  std::optional<AlpacaError> error;
  if (outcome) error = errorOf(*outcome);
  const auto description = served_->description();
  const auto status = served_->status();
  {
    const std::scoped_lock lock(mutex_);
    --transitions_;
    connectFailure_ = error;
    if (description) description_ = description;
    if (!error && description && isWanted_ && !isConnected_) {
      isConnected_ = true;
      ++connections_;
      const Orvik_CAMERA_INFO& info = description->info;
      settings_ = {};
      settings_.subframe = {1, 0, 0, info.maxWidth, info.maxHeight};
      settings_.gain = presentValue(*status, description->control(Orvik_CTL_GAIN));
      settings_.offset = presentValue(*status, description->control(Orvik_CTL_BRIGHTNESS));
      exposures_ = std::make_shared<ExposureState>();
      pulseFailure_.reset();
    }
  }
  follow();  // it may have been unplugged meanwhile
  done(error);
}

void AlpacaCamera::disconnect(const PutDone& done) {
  std::unique_lock lock(mutex_);
  isWanted_ = false;
  isConnected_ = false;
  connectFailure_.reset();
  ++transitions_;
  const auto close = [self = shared_from_this(), done] { self->closeServed(done); };
  const bool isExposing = exposures_->isUnderWay();
  if (isExposing) afterExposure_.emplace_back(close);
  const std::vector<GuideD> lines = forget();
  lock.unlock();
  for (const GuideD line : lines) served_->releaseLine(line);
  if (!isExposing) close();
}

void AlpacaCamera::closeServed(const PutDone& done) {
  const auto closed = [self = shared_from_this(), done](const Outcome& outcome) {
    std::optional<AlpacaError> error;
    if (outcome) error = errorOf(*outcome);
    {
      const std::scoped_lock lock(self->mutex_);
      --self->transitions_;
      self->connectFailure_ = error;
    }
    done(error);
  };
  std::unique_lock lock(mutex_);
  const bool isWantedAgain = isWanted_;
  lock.unlock();
  if (isWantedAgain) {
    closed({});
  } else {
    served_->close(User::kAlpaca, closed);
  }
}

std::vector<GuideD> AlpacaCamera::forget() {
  exposures_->abort();
  exposures_ = std::make_shared<ExposureState>();
  std::vector<GuideD> lines;
  for (std::size_t line = 0; line < pulses_.size(); ++line) {
    if (pulses_[line] > 0) lines.push_back(static_cast<GuideD>(line));
  }
  return lines;
}

std::shared_ptr<const ServedCamera::Description> AlpacaCamera::known() const {
  const std::scoped_lock lock(mutex_);
  if (description_) return description_;
  throw AlpacaError(ErrorNumber::kNotConnected, "The camera is not connected.");
}

const Control& AlpacaCamera::knownControl(const Description& camera, Orvik_CONTROL_TYPE type,
                                          const char* name) const {
  if (const Control* control = camera.control(type)) return *control;
  throw AlpacaError(ErrorNumber::kNotImplemented, std::string("The camera has no ") + name + ".");
}

void AlpacaCamera::setBin(int bin) {
  const auto bins = binsOf(known()->info);
  if (std::ranges::find(bins, bin) == bins.end()) {
    throw invalidValue("The camera does not bin " + std::to_string(bin) + " x " +
                       std::to_string(bin) + ".");
  }
  const std::scoped_lock lock(mutex_);
  settings_.subframe.bin = bin;
}

void AlpacaCamera::setSubframe(int Subframe::*member, int value) {
  const std::scoped_lock lock(mutex_);
  settings_.subframe.*member = value;
}

void AlpacaCamera::setReadoutMode(int mode) {
  const auto count = static_cast<int>(readoutModes(*known()).size());
  if (mode < 0 || mode >= count) {
    throw invalidValue("There are the readout modes 0 to " + std::to_string(count - 1) + ".");
  }
  const std::scoped_lock lock(mutex_);
  settings_.readoutMode = mode;
}

void AlpacaCamera::setGain(int gain) {
  checkLimits(knownControl(*known(), Orvik_CTL_GAIN, "gain"), gain);
  const std::scoped_lock lock(mutex_);
  settings_.gain = gain;
}

void AlpacaCamera::setOffset(int offset) {
  checkLimits(knownControl(*known(), Orvik_CTL_BRIGHTNESS, "offset"), offset);
  const std::scoped_lock lock(mutex_);
  settings_.offset = offset;
}

void AlpacaCamera::setCooler(bool on, const PutDone& done) {
  served_->setCooler(on, std::nullopt, answering(done));
}

void AlpacaCamera::setTarget(double celsius, const PutDone& done) {
  const auto description = known();
  const Control& control = knownControl(*description, Orvik_CTL_TARGET_TEMP, "cooler");
  if (!(celsius >= control.min() && celsius <= control.max())) {
    throw invalidValue("The cooler can be set to " + std::to_string(control.min()) + " to " +
                       std::to_string(control.max()) + " degrees Celsius.");
  }
  served_->setCooler(std::nullopt, static_cast<int>(std::lround(celsius)), answering(done));
}

void AlpacaCamera::pulseGuide(int direction, int milliseconds) {
  if (direction < 0 || direction > 3) {
    throw invalidValue("The directions are 0 to 3: north, south, east, west.");
  }
  if (milliseconds < 0 || milliseconds > ORVIK_MAX_PULSE_MS) {
    throw invalidValue("A pulse lasts 0 to " + std::to_string(ORVIK_MAX_PULSE_MS) + " ms.");
  }
  const auto line = wiring_[static_cast<std::size_t>(direction)];
  const auto opposite = wiring_[static_cast<std::size_t>(direction ^ 1)];
  const auto count = static_cast<std::size_t>(line);
  {
    const std::scoped_lock lock(mutex_);
    ++pulses_[count];
    pulseFailure_.reset();
  }
  // A mount cannot move both ways.
  served_->releaseLine(opposite);
  served_->pulse(line, std::chrono::milliseconds(milliseconds),
                 [self = shared_from_this(), count](const Outcome& outcome) {
                   const std::scoped_lock lock(self->mutex_);
                   --self->pulses_[count];
                   const bool hasFailed = outcome && outcome->kind == Failure::Kind::kCamera;
                   if (hasFailed) self->pulseFailure_ = errorOf(*outcome);
                 });
}

}  // namespace orvik::server
