// SPDX-License-Identifier: MIT
#include "integrations/server/camera/page_settings.h"

#include <algorithm>
#include <string>

#include "integrations/server/camera/failure.h"

namespace orvik::server {
namespace {

[[noreturn]] void refuse(Failure::Kind kind, std::string message) {
  throw FailureException({kind, Orvik_OK, std::move(message)});
}

/// Those of the cooler are set apart from the images' settings.
bool isOfCooler(Orvik_CONTROL_TYPE type) {
  return type == Orvik_CTL_TARGET_TEMP || type == Orvik_CTL_COOLER_ON;
}

/// Controls that begin with the model's defaults. The others keep what was saved.
bool beginsWithDefault(Orvik_CONTROL_TYPE type) {
  switch (type) {
    case Orvik_CTL_GAMMA:
    case Orvik_CTL_WB_R:
    case Orvik_CTL_WB_B:
    case Orvik_CTL_FLIP:
    case Orvik_CTL_HARDWARE_BIN:
    case Orvik_CTL_HIGH_SPEED_MODE:
      return true;
    default:
      return false;
  }
}

}  // namespace

PageSettings::PageSettings(Camera& camera) : camera_(camera) {
  for (const Control& control : camera.controls()) {
    ControlState state{control.type(), control.read()};
    state.now.isAuto = false;
    if (beginsWithDefault(control.type())) state.now.value = control.defaultValue();
    controls_.push_back(state);
  }
  camera.dark().use(false);
  const std::vector<IMG_TYPE> types = camera.imageTypes();
  const bool hasRaw8 = std::ranges::find(types, Orvik_IMG_RAW8) != types.end();
  format_ = camera.wholeSensor(1, hasRaw8 ? Orvik_IMG_RAW8 : types.front());
  apply();
}

void PageSettings::setControl(Orvik_CONTROL_TYPE type, ControlValue value) {
  const Control* control = camera_.control(type);
  if (control == nullptr) refuse(Failure::Kind::kBadValue, "The camera has no such control.");
  const std::string name(control->name());
  if (!control->isWritable()) refuse(Failure::Kind::kBadValue, name + " can only be read.");
  if (value.value < control->min() || value.value > control->max()) {
    refuse(Failure::Kind::kBadValue, name + " is " + std::to_string(control->min()) + " to " +
                                         std::to_string(control->max()) + ".");
  }
  if (value.isAuto && !control->hasAuto()) {
    refuse(Failure::Kind::kBadValue, name + " has no automatic mode.");
  }
  const std::scoped_lock lock(requests_);
  const ControlState wanted{type, value};
  const bool isLater = borrower_ == Borrower::kOwnSettings && !isOfCooler(type);
  store(isLater ? wanted : written(wanted));
}

void PageSettings::setFormat(const imaging::Region& region, int bin, IMG_TYPE type) {
  const std::vector<int> bins = camera_.bins();
  const std::vector<IMG_TYPE> types = camera_.imageTypes();
  if (std::ranges::find(bins, bin) == bins.end()) {
    refuse(Failure::Kind::kBadValue, "The camera has no bin " + std::to_string(bin) + ".");
  }
  if (std::ranges::find(types, type) == types.end()) {
    refuse(Failure::Kind::kBadValue, "The camera has no images of this type.");
  }
  const auto format = imaging::formatWithin(region, bin, type, camera_.info());
  if (!format) {
    refuse(Failure::Kind::kBadValue,
           "The region is too small: an image has at least 4 x 2 pixels.");
  }
  const std::scoped_lock lock(requests_);
  if (borrower_ == Borrower::kPageCapture) {
    refuse(Failure::Kind::kBusy, "The format of images stays the same while they are captured.");
  }
  store(borrower_ == Borrower::kOwnSettings ? *format : written(*format));
}

void PageSettings::lend(bool hasOwnSettings) {
  const std::scoped_lock lock(requests_);
  borrower_ = hasOwnSettings ? Borrower::kOwnSettings : Borrower::kPageCapture;
}

void PageSettings::takeBack() {
  const std::scoped_lock lock(requests_);
  borrower_ = Borrower::kNobody;
}

void PageSettings::apply() {
  const std::scoped_lock lock(requests_);
  for (const ControlState& state : controls()) {
    const Control* control = camera_.control(state.type);
    if (!control->isWritable() || isOfCooler(state.type)) continue;
    if (control->read() != state.now) store(written(state));
  }
  store(written(format()));
}

void PageSettings::refresh() {
  const std::scoped_lock lock(requests_);
  for (ControlState state : controls()) {
    const Control* control = camera_.control(state.type);
    const bool isCameras = !control->isWritable() || isOfCooler(state.type) ||
                           (state.now.isAuto && borrower_ != Borrower::kOwnSettings);
    if (!isCameras) continue;
    std::error_code error;
    state.now = control->read(error);
    if (!error) store(state);  // else the value before stays
  }
}

std::vector<ControlState> PageSettings::controls() const {
  const std::scoped_lock lock(mutex_);
  return controls_;
}

ImageFormat PageSettings::format() const {
  const std::scoped_lock lock(mutex_);
  return format_;
}

ControlState PageSettings::written(const ControlState& wanted) {
  camera_.write(wanted.type, wanted.now);
  return {wanted.type, camera_.read(wanted.type)};
}

ImageFormat PageSettings::written(const ImageFormat& wanted) {
  if (camera_.format() == wanted) return wanted;
  camera_.setFormat(wanted);
  camera_.setStart(wanted.startX, wanted.startY);
  return camera_.format();
}

void PageSettings::store(const ControlState& control) {
  const std::scoped_lock lock(mutex_);
  std::ranges::find(controls_, control.type, &ControlState::type)->now = control.now;
}

void PageSettings::store(const ImageFormat& format) {
  const std::scoped_lock lock(mutex_);
  format_ = format;
}

}  // namespace orvik::server
