// SPDX-License-Identifier: MIT
#include "tools/orvikctl/camera.h"

#include <algorithm>
#include <string>

#include "orvik/orvik_service.h"
#include "tools/orvikctl/error_text.h"

namespace orvik::ctl {
namespace {

/// Closes a camera if it turns out to be unusable while it is being opened.
class CloseUnlessKept {
 public:
  explicit CloseUnlessKept(int handle) : handle_(handle) {}
  ~CloseUnlessKept() {
    if (!kept_) OrvikCloseCamera(handle_);
  }
  CloseUnlessKept(const CloseUnlessKept&) = delete;
  CloseUnlessKept& operator=(const CloseUnlessKept&) = delete;
  void keep() { kept_ = true; }

 private:
  int handle_;
  bool kept_ = false;
};

}  // namespace

Camera::Camera(const ConnectedCamera& connected) : label_(connected.label()) {
  check(OrvikOpenDevice(connected.port.c_str(), &handle_), "opening " + label_);
  CloseUnlessKept opened(handle_);
  readControls();
  opened.keep();
}

Camera::~Camera() {
  // Nothing more can be done about a failure here; the library closes the device in any case.
  if (videoRuns_) OrvikStopVideoCapture(handle_);
  if (exposing_) OrvikStopExposure(handle_);
  OrvikCloseCamera(handle_);
}

void Camera::expect(Orvik_ERROR_CODE code, const std::string& doing) const {
  if (code != Orvik_OK) check(code, label_ + ": " + doing);
}

void Camera::readControls() {
  int count = 0;
  expect(OrvikGetNumOfControls(handle_, &count), "reading the list of controls");
  for (int position = 0; position < count; ++position) {
    Orvik_CONTROL_CAPS caps{};
    expect(OrvikGetControlCaps(handle_, position, &caps), "reading the list of controls");
    controls_.push_back(caps);
  }
}

Orvik_CAMERA_INFO Camera::info() const {
  Orvik_CAMERA_INFO info{};
  expect(OrvikGetCameraProperty(&info, handle_), "asking for its properties");
  return info;
}

const Orvik_CONTROL_CAPS* Camera::control(Orvik_CONTROL_TYPE type) const {
  const auto found = std::find_if(controls_.begin(), controls_.end(),
                                  [type](const auto& caps) { return caps.controlType == type; });
  return found == controls_.end() ? nullptr : &*found;
}

ControlValue Camera::value(Orvik_CONTROL_TYPE type) const {
  std::int32_t value = 0;
  Orvik_BOOL isAuto = Orvik_FALSE;
  const auto* caps = control(type);
  expect(OrvikGetControlValue(handle_, type, &value, &isAuto),
         std::string("reading ") + (caps != nullptr ? caps->name : "a control"));
  return {value, isAuto == Orvik_TRUE};
}

std::optional<ControlValue> Camera::valueIfAny(Orvik_CONTROL_TYPE type) const {
  std::int32_t value = 0;
  Orvik_BOOL isAuto = Orvik_FALSE;
  if (control(type) == nullptr) return std::nullopt;
  if (OrvikGetControlValue(handle_, type, &value, &isAuto) != Orvik_OK) return std::nullopt;
  return ControlValue{value, isAuto == Orvik_TRUE};
}

Orvik_COOLER_STATUS Camera::coolerStatus() const {
  Orvik_COOLER_STATUS status;
  check(OrvikGetCoolerStatus(handle_, &status), "asking how the cooler stands");
  return status;
}

ImageFormat Camera::format() const {
  ImageFormat format;
  expect(OrvikGetROIFormat(handle_, &format.width, &format.height, &format.bin, &format.type),
         "reading the image format");
  expect(OrvikGetStartPos(handle_, &format.startX, &format.startY),
         "reading the region's position");
  return format;
}

// The setters change the camera, though no member of this class.
// NOLINTBEGIN(readability-make-member-function-const)

void Camera::setValue(Orvik_CONTROL_TYPE type, ControlValue value) {
  const auto* caps = control(type);
  expect(OrvikSetControlValue(handle_, type, value.value, value.isAuto ? Orvik_TRUE : Orvik_FALSE),
         std::string("setting ") + (caps != nullptr ? caps->name : "a control"));
}

void Camera::setFormat(const ImageFormat& format) {
  expect(OrvikSetROIFormat(handle_, format.width, format.height, format.bin, format.type),
         "setting " + std::to_string(format.width) + "x" + std::to_string(format.height) + " bin " +
             std::to_string(format.bin));
}

void Camera::setStart(int x, int y) {
  expect(OrvikSetStartPos(handle_, x, y),
         "moving the region to +" + std::to_string(x) + "+" + std::to_string(y));
}

bool Camera::readFrame(std::span<std::uint8_t> buffer, int waitMs) {
  const Orvik_ERROR_CODE code =
      OrvikGetVideoData(handle_, buffer.data(), static_cast<std::int32_t>(buffer.size()), waitMs);
  if (code == Orvik_ERROR_NO_FRAME) {
    Orvik_NO_FRAME_REASON reason = Orvik_NO_FRAME_NONE;
    expect(OrvikGetNoFrameReason(handle_, &reason), "asking why no frame came");
    if (reason == Orvik_NO_FRAME_UNPLUGGED) {
      throw Failure(ExitCode::kCameraFailed, label_ + " was unplugged.");
    }
    if (reason == Orvik_NO_FRAME_TIMEOUT) return false;
  }
  expect(code, "reading a frame");
  return true;
}

// NOLINTEND(readability-make-member-function-const)

void Camera::startVideo() {
  expect(OrvikStartVideoCapture(handle_), "starting video");
  videoRuns_ = true;
}

void Camera::stopVideo() {
  if (!videoRuns_) return;
  expect(OrvikStopVideoCapture(handle_), "stopping video");
  videoRuns_ = false;
}

Orvik_FRAME_INFO Camera::frameInfo() const {
  Orvik_FRAME_INFO info;
  check(OrvikGetFrameInfo(handle_, &info), "asking what is known of an image");
  return info;
}

int Camera::droppedFrames() const {
  int dropped = 0;
  expect(OrvikGetDroppedFrames(handle_, &dropped), "reading the number of lost frames");
  return dropped;
}

void Camera::startExposure() {
  expect(OrvikStartExposure(handle_), "starting the exposure");
  exposing_ = true;
}

Orvik_EXPOSURE_STATUS Camera::exposureStatus() const {
  Orvik_EXPOSURE_STATUS status = Orvik_EXPSTATE_NONE;
  expect(OrvikGetExpStatus(handle_, &status), "asking how the exposure stands");
  return status;
}

void Camera::fetchExposure(std::span<std::uint8_t> buffer) {
  expect(OrvikGetDataAfterExp(handle_, buffer.data(), static_cast<std::int32_t>(buffer.size())),
         "fetching the image");
  exposing_ = false;
}

}  // namespace orvik::ctl
