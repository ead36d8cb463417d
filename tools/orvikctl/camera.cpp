// SPDX-License-Identifier: MIT
#include "tools/orvikctl/camera.h"

#include <algorithm>
#include <string>

#include "tools/orvikctl/error_text.h"

namespace orvik::ctl {
namespace {

/** Closes a camera again that turned out unusable while it was being opened. */
class CloseUnlessKept {
 public:
  explicit CloseUnlessKept(int index) : index_(index) {}
  ~CloseUnlessKept() {
    if (!kept_) OrvikCloseCamera(index_);
  }
  CloseUnlessKept(const CloseUnlessKept&) = delete;
  CloseUnlessKept& operator=(const CloseUnlessKept&) = delete;
  void keep() { kept_ = true; }

 private:
  int index_;
  bool kept_ = false;
};

}  // namespace

Camera::Camera(int index) : index_(index) {
  check(OrvikOpenCamera(index_), "opening camera " + std::to_string(index_));
  CloseUnlessKept opened(index_);
  readControls();
  opened.keep();
}

Camera::~Camera() {
  // Nothing more can be done about a failure here; the library closes the device in any case.
  if (videoRuns_) OrvikStopVideoCapture(index_);
  if (exposing_) OrvikStopExposure(index_);
  OrvikCloseCamera(index_);
}

void Camera::readControls() {
  int count = 0;
  check(OrvikGetNumOfControls(index_, &count), "reading the list of controls");
  for (int position = 0; position < count; ++position) {
    Orvik_CONTROL_CAPS caps{};
    check(OrvikGetControlCaps(index_, position, &caps), "reading the list of controls");
    controls_.push_back(caps);
  }
}

Orvik_CAMERA_INFO Camera::info() const {
  Orvik_CAMERA_INFO info{};
  check(OrvikGetCameraProperty(&info, index_), "asking camera " + std::to_string(index_));
  return info;
}

const Orvik_CONTROL_CAPS* Camera::control(Orvik_CONTROL_TYPE type) const {
  const auto found = std::find_if(controls_.begin(), controls_.end(),
                                  [type](const auto& caps) { return caps.controlType == type; });
  return found == controls_.end() ? nullptr : &*found;
}

ControlValue Camera::value(Orvik_CONTROL_TYPE type) const {
  int32_t value = 0;
  Orvik_BOOL isAuto = Orvik_FALSE;
  const auto* caps = control(type);
  check(OrvikGetControlValue(index_, type, &value, &isAuto),
        std::string("reading ") + (caps != nullptr ? caps->name : "a control"));
  return {value, isAuto == Orvik_TRUE};
}

std::optional<ControlValue> Camera::valueIfAny(Orvik_CONTROL_TYPE type) const {
  int32_t value = 0;
  Orvik_BOOL isAuto = Orvik_FALSE;
  if (control(type) == nullptr) return std::nullopt;
  if (OrvikGetControlValue(index_, type, &value, &isAuto) != Orvik_OK) return std::nullopt;
  return ControlValue{value, isAuto == Orvik_TRUE};
}

Orvik_COOLER_STATUS Camera::coolerStatus() const {
  Orvik_COOLER_STATUS status;
  check(OrvikGetCoolerStatus(index_, &status), "asking how the cooler stands");
  return status;
}

ImageFormat Camera::format() const {
  ImageFormat format;
  check(OrvikGetROIFormat(index_, &format.width, &format.height, &format.bin, &format.type),
        "reading the image format");
  check(OrvikGetStartPos(index_, &format.startX, &format.startY), "reading the region's position");
  return format;
}

// The setters change the camera, though no member of this class.
// NOLINTBEGIN(readability-make-member-function-const)

void Camera::setValue(Orvik_CONTROL_TYPE type, ControlValue value) {
  const auto* caps = control(type);
  check(OrvikSetControlValue(index_, type, value.value, value.isAuto ? Orvik_TRUE : Orvik_FALSE),
        std::string("setting ") + (caps != nullptr ? caps->name : "a control"));
}

void Camera::setFormat(const ImageFormat& format) {
  check(OrvikSetROIFormat(index_, format.width, format.height, format.bin, format.type),
        "setting " + std::to_string(format.width) + "x" + std::to_string(format.height) + " bin " +
            std::to_string(format.bin));
}

void Camera::setStart(int x, int y) {
  check(OrvikSetStartPos(index_, x, y),
        "moving the region to +" + std::to_string(x) + "+" + std::to_string(y));
}

bool Camera::readFrame(std::span<uint8_t> buffer, int waitMs) {
  const Orvik_ERROR_CODE code =
      OrvikGetVideoData(index_, buffer.data(), static_cast<int32_t>(buffer.size()), waitMs);
  if (code == Orvik_ERROR_NO_FRAME) return false;
  check(code, "reading a frame");
  return true;
}

// NOLINTEND(readability-make-member-function-const)

void Camera::startVideo() {
  check(OrvikStartVideoCapture(index_), "starting video");
  videoRuns_ = true;
}

void Camera::stopVideo() {
  if (!videoRuns_) return;
  check(OrvikStopVideoCapture(index_), "stopping video");
  videoRuns_ = false;
}

int Camera::droppedFrames() const {
  int dropped = 0;
  check(OrvikGetDroppedFrames(index_, &dropped), "reading the number of lost frames");
  return dropped;
}

void Camera::startExposure() {
  check(OrvikStartExposure(index_), "starting the exposure");
  exposing_ = true;
}

Orvik_EXPOSURE_STATUS Camera::exposureStatus() const {
  Orvik_EXPOSURE_STATUS status = Orvik_EXPSTATE_NONE;
  check(OrvikGetExpStatus(index_, &status), "asking how the exposure stands");
  return status;
}

void Camera::fetchExposure(std::span<uint8_t> buffer) {
  check(OrvikGetDataAfterExp(index_, buffer.data(), static_cast<int32_t>(buffer.size())),
        "fetching the image");
  exposing_ = false;
}

}  // namespace orvik::ctl
