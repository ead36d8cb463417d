// SPDX-License-Identifier: MIT
#include "tools/orvikctl/selftest/every_call.h"

#include <array>
#include <cstdint>

namespace orvik::ctl::selftest {
namespace {

constexpr Orvik_ERROR_CODE kIndex = Orvik_ERROR_CAMERA_INDEX;
constexpr Orvik_ERROR_CODE kClosed = Orvik_ERROR_NO_CAMERA_OBJECT;

Orvik_ERROR_CODE property(int index) {
  Orvik_CAMERA_INFO info;
  return OrvikGetCameraProperty(&info, index);
}

Orvik_ERROR_CODE controlCount(int index) {
  int count = 0;
  return OrvikGetNumOfControls(index, &count);
}

Orvik_ERROR_CODE controlCaps(int index) {
  Orvik_CONTROL_CAPS caps;
  return OrvikGetControlCaps(index, 0, &caps);
}

Orvik_ERROR_CODE getControl(int index) {
  std::int32_t value = 0;
  Orvik_BOOL isAuto = Orvik_FALSE;
  return OrvikGetControlValue(index, Orvik_CTL_GAIN, &value, &isAuto);
}

Orvik_ERROR_CODE setControl(int index) {
  return OrvikSetControlValue(index, Orvik_CTL_GAMMA, 50, Orvik_FALSE);
}

Orvik_ERROR_CODE setFormat(int index) {
  return OrvikSetROIFormat(index, 128, 96, 1, Orvik_IMG_RAW8);
}

Orvik_ERROR_CODE getFormat(int index) {
  int width = 0;
  int height = 0;
  int bin = 0;
  IMG_TYPE type = Orvik_IMG_RAW8;
  return OrvikGetROIFormat(index, &width, &height, &bin, &type);
}

Orvik_ERROR_CODE getStart(int index) {
  int x = 0;
  int y = 0;
  return OrvikGetStartPos(index, &x, &y);
}

Orvik_ERROR_CODE droppedFrames(int index) {
  int dropped = 0;
  return OrvikGetDroppedFrames(index, &dropped);
}

Orvik_ERROR_CODE darkInUse(int index) {
  Orvik_BOOL inUse = Orvik_FALSE;
  return OrvikEnableDarkSubtract(index, nullptr, &inUse);
}

Orvik_ERROR_CODE videoData(int index) {
  unsigned char byte = 0;
  return OrvikGetVideoData(index, &byte, sizeof byte, 0);
}

Orvik_ERROR_CODE exposureStatus(int index) {
  Orvik_EXPOSURE_STATUS status = Orvik_EXPSTATE_NONE;
  return OrvikGetExpStatus(index, &status);
}

Orvik_ERROR_CODE exposureData(int index) {
  unsigned char byte = 0;
  return OrvikGetDataAfterExp(index, &byte, sizeof byte);
}

Orvik_ERROR_CODE readMark(int index) {
  Orvik_ID id;
  return OrvikGetID(index, &id);
}

constexpr std::array kCalls = {
    Call{"OrvikGetCameraProperty", property, Orvik_ERROR_INFO_INDEX, Orvik_OK},
    Call{"OrvikCloseCamera", OrvikCloseCamera, kIndex, Orvik_OK},
    Call{"OrvikGetNumOfControls", controlCount, kIndex, kClosed},
    Call{"OrvikGetControlCaps", controlCaps, kIndex, kClosed},
    Call{"OrvikGetControlValue", getControl, kIndex, kClosed},
    Call{"OrvikSetControlValue", setControl, kIndex, kClosed},
    Call{"OrvikSetROIFormat", setFormat, kIndex, kClosed},
    Call{"OrvikGetROIFormat", getFormat, kIndex, kClosed},
    Call{"OrvikSetStartPos", [](int index) { return OrvikSetStartPos(index, 0, 0); }, kIndex,
         kClosed},
    Call{"OrvikGetStartPos", getStart, kIndex, kClosed},
    Call{"OrvikGetDroppedFrames", droppedFrames, kIndex, kClosed},
    Call{"OrvikEnableDarkSubtract", darkInUse, kIndex, kClosed},
    Call{"OrvikDisableDarkSubtract", OrvikDisableDarkSubtract, kIndex, kClosed},
    Call{"OrvikStartVideoCapture", OrvikStartVideoCapture, kIndex, kClosed},
    Call{"OrvikStopVideoCapture", OrvikStopVideoCapture, kIndex, kClosed},
    Call{"OrvikGetVideoData", videoData, kIndex, kClosed},
    Call{"OrvikStartExposure", OrvikStartExposure, kIndex, kClosed},
    Call{"OrvikStopExposure", OrvikStopExposure, kIndex, kClosed},
    Call{"OrvikGetExpStatus", exposureStatus, kIndex, kClosed},
    Call{"OrvikGetDataAfterExp", exposureData, kIndex, kClosed},
    Call{"OrvikPulseGuideOn", [](int index) { return OrvikPulseGuideOn(index, Orvik_GUIDE_DIR_0); },
         kIndex, kClosed},
    Call{"OrvikPulseGuideOff",
         [](int index) { return OrvikPulseGuideOff(index, Orvik_GUIDE_DIR_0); }, kIndex, kClosed},
    Call{"OrvikGetID", readMark, kIndex, kClosed},
};

}  // namespace

std::span<const Call> everyCall() { return kCalls; }

}  // namespace orvik::ctl::selftest
