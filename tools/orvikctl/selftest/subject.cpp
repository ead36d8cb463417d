// SPDX-License-Identifier: MIT
#include "tools/orvikctl/selftest/subject.h"

#include <algorithm>
#include <thread>
#include <utility>

#include "imaging/image_types.h"
#include "tools/orvikctl/control_names.h"
#include "tools/orvikctl/selftest/expect.h"

namespace orvik::ctl::selftest {
namespace {

constexpr int kSmallWidth = 128;
constexpr int kSmallHeight = 96;
constexpr int kGuideLines = 4;
constexpr std::int32_t kSettledExposureUs = 2000;

}  // namespace

Subject::Subject(int index, std::optional<int> second, Conditions conditions)
    : index_(index), second_(second), conditions_(std::move(conditions)) {}

Subject::~Subject() { OrvikCloseCamera(index_); }

// It changes the camera, though no member of this class.
// NOLINTNEXTLINE(readability-make-member-function-const)
void Subject::settle() {
  expectOk(OrvikOpenCamera(index_), "opening the camera");
  stopVideo();
  expectOk(OrvikStopExposure(index_), "OrvikStopExposure");
  for (int line = 0; line < kGuideLines; ++line) {
    OrvikPulseGuideOff(index_, static_cast<GuideD>(line));
  }
  expectOk(OrvikDisableDarkSubtract(index_), "OrvikDisableDarkSubtract");
  for (const Orvik_CONTROL_CAPS& caps : controls()) {
    if (caps.writable == Orvik_TRUE) set(caps.controlType, caps.defaultValue);
  }
  setExposure(kSettledExposureUs);
  setFormat(small());
}

Orvik_CAMERA_INFO Subject::info() const {
  Orvik_CAMERA_INFO info{};
  expectOk(OrvikGetCameraProperty(&info, index_), "OrvikGetCameraProperty");
  return info;
}

std::vector<Orvik_CONTROL_CAPS> Subject::controls() const {
  int count = 0;
  expectOk(OrvikGetNumOfControls(index_, &count), "OrvikGetNumOfControls");
  std::vector<Orvik_CONTROL_CAPS> all(static_cast<std::size_t>(std::max(count, 0)));
  for (int position = 0; position < count; ++position) {
    expectOk(OrvikGetControlCaps(index_, position, &all[static_cast<std::size_t>(position)]),
             "OrvikGetControlCaps(" + std::to_string(position) + ")");
  }
  return all;
}

Orvik_CONTROL_CAPS Subject::control(Orvik_CONTROL_TYPE type) const {
  for (const Orvik_CONTROL_CAPS& caps : controls()) {
    if (caps.controlType == type) return caps;
  }
  throw CheckSkipped("the camera does not offer control " + std::to_string(type));
}

ControlValue Subject::value(Orvik_CONTROL_TYPE type) const {
  std::int32_t value = 0;
  Orvik_BOOL isAuto = Orvik_FALSE;
  expectOk(OrvikGetControlValue(index_, type, &value, &isAuto),
           "reading control " + std::to_string(type));
  return {value, isAuto == Orvik_TRUE};
}

void Subject::set(Orvik_CONTROL_TYPE type, std::int32_t value) const {
  expectOk(OrvikSetControlValue(index_, type, value, Orvik_FALSE),
           "setting control " + std::to_string(type) + " to " + std::to_string(value));
}

std::int32_t Subject::setExposure(std::int64_t microseconds) const {
  const Orvik_CONTROL_CAPS caps = control(Orvik_CTL_EXPOSURE);
  const auto exposure = static_cast<std::int32_t>(std::clamp<std::int64_t>(
      microseconds, caps.minValue, std::max(caps.minValue, caps.maxValue)));
  set(Orvik_CTL_EXPOSURE, exposure);
  return exposure;
}

ImageFormat Subject::small(int bin, IMG_TYPE type) {
  return {.width = kSmallWidth, .height = kSmallHeight, .bin = bin, .type = type};
}

ImageFormat Subject::full(int bin, IMG_TYPE type) const {
  const Orvik_CAMERA_INFO about = info();
  return {.width = about.maxWidth / bin / 4 * 4,
          .height = about.maxHeight / bin / 2 * 2,
          .bin = bin,
          .type = type};
}

void Subject::setFormat(const ImageFormat& format) const {
  expectOk(OrvikSetROIFormat(index_, format.width, format.height, format.bin, format.type),
           "setting " + formatText(format));
}

ImageFormat Subject::format() const {
  ImageFormat now;
  expectOk(OrvikGetROIFormat(index_, &now.width, &now.height, &now.bin, &now.type),
           "OrvikGetROIFormat");
  expectOk(OrvikGetStartPos(index_, &now.startX, &now.startY), "OrvikGetStartPos");
  return now;
}

void Subject::startVideo() const {
  expectOk(OrvikStartVideoCapture(index_), "OrvikStartVideoCapture");
}

void Subject::stopVideo() const {
  expectOk(OrvikStopVideoCapture(index_), "OrvikStopVideoCapture");
}

void Subject::readFrame(FrameBuffer& frame) const {
  frame.clear();
  expectOk(OrvikGetVideoData(index_, frame.data(), frame.size(), conditions_.timeoutMs),
           "a frame of " + formatText(frame.format()));
  frame.expectWritten();
}

FrameBuffer Subject::takeFrame() const {
  FrameBuffer frame(format());
  startVideo();
  readFrame(frame);
  stopVideo();
  return frame;
}

Orvik_EXPOSURE_STATUS Subject::exposureStatus() const {
  Orvik_EXPOSURE_STATUS status = Orvik_EXPSTATE_NONE;
  expectOk(OrvikGetExpStatus(index_, &status), "OrvikGetExpStatus");
  return status;
}

Orvik_EXPOSURE_STATUS Subject::waitForExposure(std::int64_t exposureUs) const {
  const StopWatch watch;
  const double limit = static_cast<double>(exposureUs) / 1000 + conditions_.timeoutMs;
  while (exposureStatus() == Orvik_EXPSTATE_EXPOSING) {
    expectThat(watch.milliseconds() < limit,
               "the end of a snapshot within its exposure and " +
                   std::to_string(conditions_.timeoutMs) + " ms",
               "none");
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return exposureStatus();
}

std::string formatText(const ImageFormat& format) {
  return std::to_string(format.width) + "x" + std::to_string(format.height) + " bin " +
         std::to_string(format.bin) + " " + std::string(imaging::imageType(format.type).name);
}

}  // namespace orvik::ctl::selftest
