// SPDX-License-Identifier: MIT
// Functions of orvik.h that stand before those of the library and can do wrong what it does right.
#include "faulty_library.h"

#include <dlfcn.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <iterator>
#include <thread>

#include "orvik/orvik.h"

namespace orvik::test {

LibraryFault libraryFault = LibraryFault::kNone;

namespace {

bool is(LibraryFault fault) { return libraryFault == fault; }

/// The library's own function of that name.
template <class Function>
Function* real(Function*, const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

std::int32_t sharedGamma = 50;

void spoilFrame(int index, unsigned char* buffer, std::int32_t size) {
  int width = 0;
  int height = 0;
  int bin = 0;
  IMG_TYPE type = Orvik_IMG_RAW8;
  OrvikGetROIFormat(index, &width, &height, &bin, &type);
  if (is(LibraryFault::kWritesBehindFrame)) buffer[size] = 0;
  if (is(LibraryFault::kLeavesLastRow)) std::fill(buffer + size - width, buffer + size, 0xA5);
  if (is(LibraryFault::kSwapsBytes) && type == Orvik_IMG_RAW16) {
    for (std::int32_t i = 0; i + 1 < size; i += 2) std::swap(buffer[i], buffer[i + 1]);
  }
}

}  // namespace
}  // namespace orvik::test

using namespace orvik::test;
#define ORVIK_REAL(name) real(name, #name)

Orvik_ERROR_CODE OrvikGetCameraProperty(Orvik_CAMERA_INFO* info, int index) {
  const auto code = ORVIK_REAL(OrvikGetCameraProperty)(info, index);
  if (code != Orvik_OK) return code;
  if (is(LibraryFault::kNameWithoutEnd))
    std::fill(std::begin(info->name), std::end(info->name), 'x');
  if (is(LibraryFault::kTypesOutOfOrder)) {
    auto* const end = std::find(std::begin(info->imageTypes), std::end(info->imageTypes), -1);
    std::reverse(std::begin(info->imageTypes), end);
  }
  return code;
}

Orvik_ERROR_CODE OrvikGetROIFormat(int index, int* width, int* height, int* bin, IMG_TYPE* type) {
  const auto code = ORVIK_REAL(OrvikGetROIFormat)(index, width, height, bin, type);
  if (is(LibraryFault::kCountsClosedAsOpen) && code == Orvik_ERROR_NO_CAMERA_OBJECT) {
    return Orvik_OK;
  }
  if (is(LibraryFault::kBinsWrong) && code == Orvik_OK) *bin = 1;
  return code;
}

Orvik_ERROR_CODE OrvikGetExpStatus(int index, Orvik_EXPOSURE_STATUS* status) {
  if (is(LibraryFault::kForgetsNulls) && status == nullptr) return Orvik_OK;
  return ORVIK_REAL(OrvikGetExpStatus)(index, status);
}

Orvik_ERROR_CODE OrvikSetROIFormat(int index, int width, int height, int bin, IMG_TYPE type) {
  const auto code = ORVIK_REAL(OrvikSetROIFormat)(index, width, height, bin, type);
  return is(LibraryFault::kTakesAnyFormat) && code == Orvik_ERROR_ROI_SIZE ? Orvik_OK : code;
}

Orvik_ERROR_CODE OrvikGetStartPos(int index, int* x, int* y) {
  const auto code = ORVIK_REAL(OrvikGetStartPos)(index, x, y);
  if (is(LibraryFault::kStartsElsewhere) && code == Orvik_OK) *x += 8;
  return code;
}

Orvik_ERROR_CODE OrvikSetControlValue(int index, Orvik_CONTROL_TYPE type, std::int32_t value,
                                      Orvik_BOOL isAuto) {
  if (is(LibraryFault::kStaysAutomatic) && type == Orvik_CTL_EXPOSURE) isAuto = Orvik_TRUE;
  if (type == Orvik_CTL_GAMMA) sharedGamma = value;
  return ORVIK_REAL(OrvikSetControlValue)(index, type, value, isAuto);
}

Orvik_ERROR_CODE OrvikGetControlValue(int index, Orvik_CONTROL_TYPE type, std::int32_t* value,
                                      Orvik_BOOL* isAuto) {
  const auto code = ORVIK_REAL(OrvikGetControlValue)(index, type, value, isAuto);
  if (code != Orvik_OK) return code;
  if (is(LibraryFault::kGoesBeyondLimits) && type == Orvik_CTL_GAIN && *value > 500) *value += 1;
  if (is(LibraryFault::kControlsShared) && type == Orvik_CTL_GAMMA) *value = sharedGamma;
  return code;
}

Orvik_ERROR_CODE OrvikGetVideoData(int index, unsigned char* buffer, std::int32_t size,
                                   int waitMs) {
  const auto code = ORVIK_REAL(OrvikGetVideoData)(index, buffer, size, waitMs);
  if (is(LibraryFault::kForgetsBufferSize) && code == Orvik_ERROR_BUFFER_SMALL) return Orvik_OK;
  if (is(LibraryFault::kWaitsTooLong) && code == Orvik_ERROR_NO_FRAME) {
    std::this_thread::sleep_for(std::chrono::seconds(1));
  }
  if (code == Orvik_OK) spoilFrame(index, buffer, size);
  return code;
}

Orvik_ERROR_CODE OrvikGetDroppedFrames(int index, int* dropped) {
  const auto code = ORVIK_REAL(OrvikGetDroppedFrames)(index, dropped);
  if (is(LibraryFault::kLosesSilently) && code == Orvik_OK) *dropped = 0;
  return code;
}

Orvik_ERROR_CODE OrvikStartVideoCapture(int index) {
  const auto code = ORVIK_REAL(OrvikStartVideoCapture)(index);
  return is(LibraryFault::kMixesModes) && code == Orvik_ERROR_EXPOSING ? Orvik_OK : code;
}

Orvik_ERROR_CODE OrvikStopExposure(int index) {
  Orvik_EXPOSURE_STATUS status = Orvik_EXPSTATE_NONE;
  OrvikGetExpStatus(index, &status);
  if (is(LibraryFault::kCannotAbort) && status == Orvik_EXPSTATE_EXPOSING) return Orvik_OK;
  return ORVIK_REAL(OrvikStopExposure)(index);
}

Orvik_ERROR_CODE OrvikPulseGuideOn(int index, GuideD direction) {
  if (is(LibraryFault::kGuideFails) && direction == Orvik_GUIDE_DIR_3) {
    return Orvik_ERROR_DRIVER_FAILED;
  }
  return ORVIK_REAL(OrvikPulseGuideOn)(index, direction);
}

Orvik_ERROR_CODE OrvikEnableDarkSubtract(int index, char* path, Orvik_BOOL* inUse) {
  const bool asks = inUse != nullptr && *inUse == Orvik_FALSE;
  const auto code = ORVIK_REAL(OrvikEnableDarkSubtract)(index, path, inUse);
  if (is(LibraryFault::kDarkStaysOff) && asks) *inUse = Orvik_FALSE;
  return code;
}

Orvik_ERROR_CODE OrvikGetID(int index, Orvik_ID* id) {
  static std::uint8_t count = 0;
  const auto code = ORVIK_REAL(OrvikGetID)(index, id);
  if (!is(LibraryFault::kMarkChanges) || id == nullptr) return code;
  id->id[0] = ++count;
  return Orvik_OK;
}
